// Where and with what the figures were made.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tarnwell::bench {

// Name and value, in the order in which they are shown.
using Facts = std::vector<std::pair<std::string, std::string>>;

// The processor's own name ("unknown" where the system does not tell) out of the text of /proc/cpuinfo.
std::string processorIn(const std::string& cpuInfo);

// Processor, cores, memory, system.
Facts machineFacts();

} // namespace tarnwell::bench
