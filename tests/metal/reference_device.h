// A GPU made of the kernels compiled as C++: one thread per queue runs the committed command buffers in order and then
// their completion handlers. It is strict where real runtimes are lenient, can be told to fail at every call, and
// counts what is alive, so that leaks and broken rules of metal/compute_device.h show in a test.
#pragma once

#include "metal/compute_device.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velloid::gpu {

// The calls that can be told to fail.
enum class Fault {
    Library,        // newLibraryWithSource
    Pipeline,       // newComputePipelineState
    Buffer,         // newBufferWithLength, newBufferWithBytes
    CommandBuffer,  // commandBuffer
    ComputeEncoder, // computeCommandEncoder
    BlitEncoder,    // blitCommandEncoder
    Commit,         // commit is refused
    CommitMemory,   // commit throws std::bad_alloc
    Execution,      // the committed command buffer ends with status Error
};
constexpr std::size_t FAULT_COUNT = 9;

struct LiveObjects {
    int devices = 0;
    int libraries = 0;
    int pipelines = 0;
    int buffers = 0; // made by a device or wrapped
    int queues = 0;
    int commandBuffers = 0;
    int encoders = 0;

    int total() const { return devices + libraries + pipelines + buffers + queues + commandBuffers + encoders; }
};

// One argument of a kernel that ran.
struct RanArgument {
    unsigned index = 0;           // binding index
    const void* buffer = nullptr; // where the buffer's bytes lie: tells buffers apart; null for a value
    std::size_t length = 0;       // bytes of the buffer or value
    std::vector<std::byte> bytes; // the value, or what a buffer of at most 512 bytes held when the kernel started
};

// A kernel that ran ("blit" for a copy: source and destination).
struct RanKernel {
    std::string name;
    std::uint32_t width = 0; // threads
    std::uint32_t height = 0;
    std::vector<RanArgument> arguments;

    // The argument at a binding index. Throws std::out_of_range when there is none.
    const RanArgument& at(unsigned index) const;
    // It, as a value.
    template <typename Value>
    Value value(unsigned index) const {
        Value read;
        const std::vector<std::byte>& from = at(index).bytes;
        if (from.size() != sizeof read) throw std::out_of_range(name + ": an argument of another size");
        std::memcpy(&read, from.data(), sizeof read);
        return read;
    }
};

class ReferenceRuntime final : public Runtime {
public:
    ReferenceRuntime();
    // Waits for everything committed.
    ~ReferenceRuntime() override;
    ReferenceRuntime(const ReferenceRuntime&) = delete;
    ReferenceRuntime& operator=(const ReferenceRuntime&) = delete;

    const char* name() const override { return "Reference"; }
    std::shared_ptr<CommandQueue> wrapQueue(void* handle) override;
    std::shared_ptr<Buffer> wrapBuffer(void* handle) override;
    void joinThreads() override;

    // What a host application owns; alive until the runtime ends. A buffer has `length` bytes and belongs to the
    // device.
    void* hostDevice();
    void* hostQueue(void* device);
    void* hostBuffer(void* device, std::size_t length);
    // The bytes of a host's buffer, as floats. Read them after the work on it has completed.
    float* hostFloats(void* buffer);

    // Lets the call named by `fault` succeed `skip` times, then fail `times` times.
    void fail(Fault fault, int skip = 0, int times = 1);
    // How often the call was made, failures included.
    int calls(Fault fault) const;

    // While paused, committed command buffers stay Committed.
    void pause();
    void resume();

    LiveObjects live() const;

    // Every broken rule of compute_device.h, in words; empty in a sound program.
    std::vector<std::string> complaints() const;

    // Names of the kernels executed so far ("blit" for a copy), in order.
    std::vector<std::string> executed() const;

    // The same with what each kernel was given.
    std::vector<RanKernel> ran() const;
    void forgetRan();

    // Bytes of all buffers that devices of this runtime have made so far.
    std::size_t bytesAllocated() const;

    struct State;

private:
    std::shared_ptr<State> state;
};

} // namespace velloid::gpu
