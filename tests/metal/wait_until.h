// Waiting for what another thread does and nothing announces.
#pragma once

#include <chrono>
#include <thread>

namespace velloid::gpu {

// Waits until `condition` holds. The test's own time limit ends a wait in vain.
template <typename Condition>
void waitUntil(Condition condition) {
    while (!condition())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace velloid::gpu
