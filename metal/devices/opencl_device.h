// An OpenCL queue of our own, for programs that have no host application to give them one: checks and tests.
#pragma once

#include <memory>
#include <string>

namespace velloid::gpu {

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
