// What only OpenCL has: what is known of a device, copies between a host's buffers and host memory, and a queue of our
// own for programs that have no host application to give them one, checks and tests.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velloid::gpu {

// See renderer.h.
std::optional<bool> openclVerdict(void* queue, const std::function<std::optional<bool>(const char*)>& test);
bool readOpenClBuffer(void* queue, void* buffer, void* bytes, std::size_t length);
bool writeOpenClBuffer(void* queue, void* buffer, const void* bytes, std::size_t length);

class OpenClHostQueue {
public:
    // A context and an in-order queue on the machine's first GPU or, where there is none, its first device of any kind;
    // null when no OpenCL runtime has a device.
    static std::unique_ptr<OpenClHostQueue> create();
    ~OpenClHostQueue();
    OpenClHostQueue(const OpenClHostQueue&) = delete;
    OpenClHostQueue& operator=(const OpenClHostQueue&) = delete;

    void* context() const { return contextHandle; } // cl_context
    void* queue() const { return queueHandle; }     // cl_command_queue; what Runtime::wrapQueue takes
    const std::string& deviceName() const { return name; }

private:
    OpenClHostQueue() = default;
    void* contextHandle = nullptr;
    void* queueHandle = nullptr;
    std::string name;
};

} // namespace velloid::gpu
