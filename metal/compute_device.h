// What the renderer needs of a GPU, in Metal's words: buffers, pipelines by kernel name, a queue of command buffers
// with one compute encoder or one blit encoder each, completion handlers. Any runtime that executes the commands of a
// queue in order can stand behind it; devices/ has one file per runtime, tests/metal/ one that runs the kernels as C++.
//
// Objects are shared pointers: a copy is a retain, dropping it a release. Failure is a null pointer, `false` or an
// error text, never an exception: the renderer decides what is said to the log. Only running out of host memory throws
// (std::bad_alloc). All functions may be called from any thread; one encoder or command buffer belongs to one thread
// until it is committed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velloid::gpu {

class Device;
class CommandBuffer;

// Where a buffer lives. Shared memory can be reached through contents(); private memory by the GPU alone.
enum class StorageMode { Shared, Private };

// Threads or threadgroups along x, y and z.
struct Size {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint32_t depth = 1;
};

class Buffer {
public:
    virtual ~Buffer() = default;

    // The device that the buffer belongs to. Compare devices with sameDevice(), not by address.
    virtual std::shared_ptr<Device> device() const = 0;

    // Bytes.
    virtual std::size_t length() const = 0;

    // The bytes of a shared buffer for the host to read and write; null for a private buffer, for a buffer that the
    // host application gave (wrapBuffer), and when the bytes can't be fetched. Only while no committed command buffer
    // uses the buffer. Ask again after every command buffer: the pointer shows what the GPU wrote only from that call
    // on, and what is written through it reaches the GPU with the next commit that uses the buffer.
    virtual void* contents() = 0;
};

class ComputePipelineState {
public:
    virtual ~ComputePipelineState() = default;
};

// A compiled kernel text.
class Library {
public:
    virtual ~Library() = default;

    // The names of all its kernels.
    virtual std::vector<std::string> functionNames() const = 0;

    // A kernel ready to run; null with `error` set when the name is unknown or the runtime refuses it.
    virtual std::shared_ptr<ComputePipelineState> newComputePipelineState(const std::string& functionName,
                                                                          std::string& error) = 0;
};

struct CompileOptions {
    bool fastMathEnabled = false;
};

class Device {
public:
    virtual ~Device() = default;

    // What the runtime calls one device: two Device objects with equal handles are the same device. The handle stays
    // unique as long as one Device object with it lives. Keys the contexts of the renderer.
    virtual void* handle() const = 0;

    // Whether what was made for it may be kept between frames. False where the device is the host's to destroy: as long
    // as anything made for it lives, it could not be.
    virtual bool outlivesFrames() const { return true; }

    // For people: vendor and model.
    virtual std::string name() const = 0;

    // Compiles a kernel text; null with `error` set (the compiler's words) when it does not compile.
    virtual std::shared_ptr<Library> newLibraryWithSource(const std::string& source, const CompileOptions& options,
                                                          std::string& error) = 0;

    // A buffer of `length` > 0 bytes with undefined contents; null when there is no memory for it.
    virtual std::shared_ptr<Buffer> newBufferWithLength(std::size_t length, StorageMode mode) = 0;

    // A shared buffer that starts as a copy of `bytes`; null when there is no memory for it.
    virtual std::shared_ptr<Buffer> newBufferWithBytes(const void* bytes, std::size_t length) = 0;
};

inline bool sameDevice(const std::shared_ptr<Device>& a, const std::shared_ptr<Device>& b) {
    return a && b && a->handle() == b->handle();
}

// Records dispatches; each sees what the ones before it wrote.
class ComputeCommandEncoder {
public:
    virtual ~ComputeCommandEncoder() = default;

    virtual void setComputePipelineState(const std::shared_ptr<ComputePipelineState>& pipeline) = 0;

    // Binds a buffer, or a copy of `length` bytes (at most 4096), at a binding index of the kernel. Bind every argument
    // of the kernel between setComputePipelineState and dispatchThreadgroups, and nothing else: runtimes that number
    // their arguments take the rank of the index, and a device may forget all bindings with the dispatch. The command
    // buffer does NOT keep a buffer alive: hold it until the completion handler has run.
    virtual void setBuffer(const std::shared_ptr<Buffer>& buffer, unsigned index) = 0;
    virtual void setBytes(const void* bytes, std::size_t length, unsigned index) = 0;

    // Runs the kernel over groups * threadsPerThreadgroup threads. Kernels ignore threads beyond their plane.
    virtual void dispatchThreadgroups(const Size& groups, const Size& threadsPerThreadgroup) = 0;

    // Must be called once, before commit, also on an encoder that is given up.
    virtual void endEncoding() = 0;
};

class BlitCommandEncoder {
public:
    virtual ~BlitCommandEncoder() = default;

    // Copies `size` bytes between buffers; the ranges may not overlap. Offsets in bytes.
    virtual void copyFromBuffer(const std::shared_ptr<Buffer>& source, std::size_t sourceOffset,
                                const std::shared_ptr<Buffer>& destination, std::size_t destinationOffset,
                                std::size_t size) = 0;

    virtual void endEncoding() = 0;
};

enum class CommandBufferStatus { NotCommitted, Committed, Completed, Error };

// Commands recorded in one go and executed after everything committed to the same queue before. Dropping one that was
// never committed forgets its commands.
class CommandBuffer {
public:
    using CompletedHandler = std::function<void(CommandBuffer&)>;

    virtual ~CommandBuffer() = default;

    // The encoder to record with; null when the runtime has none. One at a time: end it before the next.
    virtual std::shared_ptr<ComputeCommandEncoder> computeCommandEncoder() = 0;
    virtual std::shared_ptr<BlitCommandEncoder> blitCommandEncoder() = 0;

    // Before commit. The handlers run once, in order, on a thread of the device's own, after the status became
    // Completed or Error; then they are destroyed, with everything they hold. They must not throw.
    virtual void addCompletedHandler(CompletedHandler handler) = 0;

    // Hands the commands to the queue. False when it does not take them: none of them is running any more or ever will,
    // the status is Error, error() says why, and the handlers are dropped without having run. The same, but for status
    // and words, when it throws (std::bad_alloc). What goes wrong later shows as status Error.
    virtual bool commit() = 0;

    // Returns when a committed buffer is Completed or Error; its handlers may still be running. At once when it was
    // never committed. Not from a handler.
    virtual void waitUntilCompleted() = 0;

    virtual CommandBufferStatus status() const = 0;

    // The runtime's words for status Error, for the log (`localizedDescription`); empty otherwise.
    virtual std::string error() const = 0;
};

class CommandQueue {
public:
    virtual ~CommandQueue() = default;

    virtual std::shared_ptr<Device> device() const = 0;

    // A fresh command buffer; null when the runtime has none.
    virtual std::shared_ptr<CommandBuffer> commandBuffer() = 0;
};

// A GPU runtime: turns the handles that a host application passes into the objects above.
class Runtime {
public:
    virtual ~Runtime() = default;

    // "Metal", "OpenCL", ...
    virtual const char* name() const = 0;

    // The host's queue and buffers (`id<MTLCommandQueue>`, `id<MTLBuffer>`; `cl_command_queue`, `cl_mem`), retained as
    // long as the object lives. Null when the handle is null or the runtime does not know it.
    virtual std::shared_ptr<CommandQueue> wrapQueue(void* handle) = 0;
    virtual std::shared_ptr<Buffer> wrapBuffer(void* handle) = 0;

    // Returns when no thread of this runtime's own is inside code of the plug-in any more. For unload, after the last
    // command buffer has completed; the runtime stays usable. Not from a completion handler.
    virtual void joinThreads() = 0;

    // Lets go of all that the runtime itself keeps to be faster the next time. For unload, after joinThreads.
    virtual void forgetAll() {}
};

// The runtimes of this build, created on first use; null where the build or the machine has none.
Runtime* metalRuntime();
Runtime* openclRuntime();

} // namespace velloid::gpu
