#include "tests/metal/reference_device.h"

#include "tests/metal/reference_kernels.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <list>
#include <map>
#include <mutex>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>
#include <variant>

namespace velloid::gpu {

using State = ReferenceRuntime::State;

namespace {

class ReferenceCommandBuffer;

// Memory of a buffer. One allocation each, so that address sanitizer sees every step outside.
using Bytes = std::vector<std::byte>;

struct HostDevice {};

// A queue of the host application: its thread is "the GPU".
struct HostQueue {
    HostDevice* device = nullptr;
    std::deque<std::shared_ptr<ReferenceCommandBuffer>> committed; // front: next to run
    bool busy = false;                                             // the thread is running one, or its handlers
    std::thread thread;
};

struct HostBuffer {
    HostDevice* device = nullptr;
    std::shared_ptr<Bytes> bytes;
};

} // namespace

struct ReferenceRuntime::State {
    mutable std::mutex mu;      // guards everything below, and the status of command buffers
    std::condition_variable cv; // anything below changed
    std::list<HostDevice> devices;
    std::list<HostQueue> queues;
    std::list<HostBuffer> buffers;
    bool paused = false;
    bool stopping = false;
    std::array<int, FAULT_COUNT> skip{};
    std::array<int, FAULT_COUNT> times{};
    std::array<int, FAULT_COUNT> made{};
    std::vector<std::string> complaints;
    std::vector<RanKernel> ran;
    LiveObjects live;
    std::size_t bytesAllocated = 0;

    // Counts a call and says whether it is to fail. With the lock held.
    bool failsLocked(Fault fault) {
        const auto index = static_cast<std::size_t>(fault);
        ++made[index];
        if (times[index] == 0) return false;
        if (skip[index] > 0) {
            --skip[index];
            return false;
        }
        --times[index];
        return true;
    }
    bool fails(Fault fault) {
        const std::lock_guard lock(mu);
        return failsLocked(fault);
    }
    void complain(const std::string& what) {
        const std::lock_guard lock(mu);
        complaints.push_back(what);
    }
};

namespace {

// Counts the objects of one kind that are alive.
class Counted {
public:
    Counted(std::shared_ptr<State> of, int LiveObjects::*counted) : state(std::move(of)), kind(counted) { add(1); }
    ~Counted() { add(-1); }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    const std::shared_ptr<State> state;

private:
    void add(int step) {
        const std::lock_guard lock(state->mu);
        state->live.*kind += step;
    }
    int LiveObjects::*kind;
};

class ReferenceDevice;

class ReferenceBuffer final : public Buffer {
public:
    ReferenceBuffer(std::shared_ptr<Device> of, std::shared_ptr<State> state, std::shared_ptr<Bytes> memory,
                    bool visible)
        : owner(std::move(of)), bytes(std::move(memory)), hostVisible(visible),
          counted(std::move(state), &LiveObjects::buffers) {}

    std::shared_ptr<Device> device() const override { return owner; }
    std::size_t length() const override { return bytes->size(); }
    void* contents() override { return hostVisible ? bytes->data() : nullptr; }

    const std::shared_ptr<Device> owner;
    const std::shared_ptr<Bytes> bytes;

private:
    const bool hostVisible;
    Counted counted;
};

class ReferencePipeline final : public ComputePipelineState {
public:
    ReferencePipeline(std::shared_ptr<State> state, const CompiledKernel& compiled)
        : kernel(compiled), counted(std::move(state), &LiveObjects::pipelines) {}
    const CompiledKernel& kernel;

private:
    Counted counted;
};

const CompiledKernel* findKernel(const std::string& name) {
    for (const CompiledKernel& kernel : compiledKernels()) {
        if (name == kernel.name) return &kernel;
    }
    return nullptr;
}

class ReferenceLibrary final : public Library {
public:
    ReferenceLibrary(std::shared_ptr<State> state, std::vector<std::string> functions)
        : names(std::move(functions)), counted(std::move(state), &LiveObjects::libraries) {}

    std::vector<std::string> functionNames() const override { return names; }

    std::shared_ptr<ComputePipelineState> newComputePipelineState(const std::string& functionName,
                                                                  std::string& error) override {
        if (counted.state->fails(Fault::Pipeline)) {
            error = "reference device: told to refuse the pipeline";
            return nullptr;
        }
        const CompiledKernel* kernel = findKernel(functionName);
        if (!kernel || std::find(names.begin(), names.end(), functionName) == names.end()) {
            error = "no function named " + functionName;
            return nullptr;
        }
        return std::make_shared<ReferencePipeline>(counted.state, *kernel);
    }

private:
    const std::vector<std::string> names;
    Counted counted;
};

class ReferenceDevice final : public Device, public std::enable_shared_from_this<ReferenceDevice> {
public:
    ReferenceDevice(std::shared_ptr<State> state, HostDevice* of)
        : identity(of), counted(std::move(state), &LiveObjects::devices) {}

    void* handle() const override { return identity; }
    std::string name() const override { return "Reference (kernels compiled as C++)"; }

    std::shared_ptr<Library> newLibraryWithSource(const std::string& source, const CompileOptions&,
                                                  std::string& error) override {
        if (counted.state->fails(Fault::Library)) {
            error = "reference device: told to refuse the library";
            return nullptr;
        }
        // Not a compiler: the kernels are those compiled with this program, as far as the text names them.
        std::vector<std::string> names;
        for (const CompiledKernel& kernel : compiledKernels()) {
            if (source.find("KERNEL void " + std::string(kernel.name) + "(") != std::string::npos) {
                names.emplace_back(kernel.name);
            }
        }
        if (names.empty()) {
            error = "no kernel in the text";
            return nullptr;
        }
        return std::make_shared<ReferenceLibrary>(counted.state, std::move(names));
    }

    std::shared_ptr<Buffer> newBufferWithLength(std::size_t length, StorageMode mode) override {
        // All bits set: every float that is read before it is written is not a number.
        return make(length, mode, [length] { return std::make_shared<Bytes>(length, std::byte{0xff}); });
    }

    std::shared_ptr<Buffer> newBufferWithBytes(const void* bytes, std::size_t length) override {
        return make(length, StorageMode::Shared, [bytes, length] {
            const auto* first = static_cast<const std::byte*>(bytes);
            return std::make_shared<Bytes>(first, first + length);
        });
    }

private:
    template <typename Fill>
    std::shared_ptr<Buffer> make(std::size_t length, StorageMode mode, Fill fill) {
        {
            const std::lock_guard lock(counted.state->mu);
            if (length == 0) counted.state->complaints.emplace_back("a buffer of no bytes was asked for");
            if (counted.state->failsLocked(Fault::Buffer) || length == 0) return nullptr;
            counted.state->bytesAllocated += length;
        }
        return std::make_shared<ReferenceBuffer>(shared_from_this(), counted.state, fill(),
                                                 mode == StorageMode::Shared);
    }

    HostDevice* const identity;
    Counted counted;
};

// What a command holds of a buffer: not the buffer itself, because the renderer has to keep it alive.
struct BufferUse {
    std::weak_ptr<Buffer> buffer;
    std::shared_ptr<Bytes> bytes;
};

struct Dispatch {
    std::shared_ptr<ReferencePipeline> pipeline;
    std::map<unsigned, std::variant<BufferUse, Bytes>> bindings;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

struct Copy {
    BufferUse source;
    std::size_t sourceOffset = 0;
    BufferUse destination;
    std::size_t destinationOffset = 0;
    std::size_t size = 0;
};

using Command = std::variant<Dispatch, Copy>;

BufferUse useOf(const std::shared_ptr<Buffer>& buffer) {
    return {buffer, static_cast<ReferenceBuffer&>(*buffer).bytes};
}

class ReferenceCommandBuffer final : public CommandBuffer, public std::enable_shared_from_this<ReferenceCommandBuffer> {
public:
    ReferenceCommandBuffer(std::shared_ptr<State> of, HostQueue* on, std::shared_ptr<Device> device)
        : queue(on), owner(std::move(device)), counted(std::move(of), &LiveObjects::commandBuffers) {}

    std::shared_ptr<ComputeCommandEncoder> computeCommandEncoder() override;
    std::shared_ptr<BlitCommandEncoder> blitCommandEncoder() override;

    void addCompletedHandler(CompletedHandler handler) override {
        const std::lock_guard lock(state().mu);
        if (current != CommandBufferStatus::NotCommitted) complainLocked("a handler was added after commit");
        handlers.push_back(std::move(handler));
    }

    bool commit() override {
        std::vector<CompletedHandler> dropped; // after the lock: what they hold counts itself out
        const std::lock_guard lock(state().mu);
        if (encoderOpen) complainLocked("committed with an open encoder");
        if (current != CommandBufferStatus::NotCommitted) {
            complainLocked("committed twice");
            return false;
        }
        if (state().failsLocked(Fault::CommitMemory)) throw std::bad_alloc();
        if (state().failsLocked(Fault::Commit)) {
            current = CommandBufferStatus::Error;
            failure = "reference device: told to refuse the commit";
            dropped.swap(handlers);
            return false;
        }
        current = CommandBufferStatus::Committed;
        queue->committed.push_back(shared_from_this());
        state().cv.notify_all();
        return true;
    }

    void waitUntilCompleted() override {
        std::unique_lock lock(state().mu);
        if (queue->thread.get_id() == std::this_thread::get_id()) complainLocked("waited in a completion handler");
        state().cv.wait(lock, [this] { return current != CommandBufferStatus::Committed; });
    }

    CommandBufferStatus status() const override {
        const std::lock_guard lock(state().mu);
        return current;
    }

    std::string error() const override {
        const std::lock_guard lock(state().mu);
        return failure;
    }

    // On the queue's thread, without the lock: all commands, then the status, then the handlers.
    void execute() {
        std::string outcome = state().fails(Fault::Execution) ? "reference device: told to fail" : std::string();
        for (std::size_t at = 0; outcome.empty() && at < commands.size(); ++at) {
            outcome = std::visit([this](const auto& command) { return run(command); }, commands[at]);
        }
        commands.clear();
        std::vector<CompletedHandler> toCall;
        {
            const std::lock_guard lock(state().mu);
            failure = outcome;
            current = outcome.empty() ? CommandBufferStatus::Completed : CommandBufferStatus::Error;
            toCall.swap(handlers);
        }
        state().cv.notify_all();
        for (const CompletedHandler& handler : toCall)
            handler(*this);
    }

    void record(Command command) { commands.push_back(std::move(command)); }

    State& state() const { return *counted.state; }
    const std::shared_ptr<State>& sharedState() const { return counted.state; }
    bool ownsDeviceOf(const Buffer& buffer) const { return sameDevice(owner, buffer.device()); }
    void endEncoder() {
        const std::lock_guard lock(state().mu);
        encoderOpen = false;
    }

private:
    void complainLocked(const char* what) { state().complaints.emplace_back(what); }

    bool openEncoder(Fault fault) {
        const std::lock_guard lock(state().mu);
        if (encoderOpen) complainLocked("a second encoder while one is open");
        if (state().failsLocked(fault)) return false;
        encoderOpen = true;
        return true;
    }

    // A buffer given back too early ends the command buffer, as a GPU fault would.
    bool alive(const BufferUse& use, const char* what) {
        if (!use.buffer.expired()) return true;
        state().complain(std::string(what) + ": a buffer was given back before the work on it was done");
        return false;
    }

    std::string run(const Dispatch& dispatch) {
        const CompiledKernel& kernel = dispatch.pipeline->kernel;
        std::vector<KernelArgument> arguments;
        for (const auto& [index, bound] : dispatch.bindings) {
            KernelArgument argument;
            if (const auto* use = std::get_if<BufferUse>(&bound)) {
                if (!alive(*use, kernel.name)) return std::string(kernel.name) + ": buffer gone";
                argument.buffer = use->bytes->data();
            } else {
                argument.value = std::get<Bytes>(bound);
            }
            arguments.push_back(std::move(argument));
        }
        note(dispatch);
        for (std::uint32_t y = 0; y < dispatch.height; ++y) {
            for (std::uint32_t x = 0; x < dispatch.width; ++x)
                kernel.run(arguments, x, y);
        }
        return {};
    }

    std::string run(const Copy& copy) {
        if (!alive(copy.source, "blit") || !alive(copy.destination, "blit")) return "blit: buffer gone";
        note(copy);
        std::memcpy(copy.destination.bytes->data() + copy.destinationOffset,
                    copy.source.bytes->data() + copy.sourceOffset, copy.size);
        return {};
    }

    static RanArgument seen(unsigned index, const BufferUse& use) {
        const bool small = use.bytes->size() <= 512;
        return {index, use.bytes->data(), use.bytes->size(), small ? *use.bytes : Bytes()};
    }
    static RanArgument seen(unsigned index, const Bytes& value) { return {index, nullptr, value.size(), value}; }

    void note(const Dispatch& dispatch) {
        RanKernel kernel{dispatch.pipeline->kernel.name, dispatch.width, dispatch.height, {}};
        for (const auto& [index, bound] : dispatch.bindings) {
            kernel.arguments.push_back(
                std::visit([at = index](const auto& argument) { return seen(at, argument); }, bound));
        }
        keep(std::move(kernel));
    }

    void note(const Copy& copy) { keep({"blit", 0, 0, {seen(0, copy.source), seen(1, copy.destination)}}); }

    void keep(RanKernel&& kernel) {
        const std::lock_guard lock(state().mu);
        state().ran.push_back(std::move(kernel));
    }

    HostQueue* const queue;
    const std::shared_ptr<Device> owner;
    std::vector<Command> commands; // by the recording thread until commit, then by the queue's
    std::vector<CompletedHandler> handlers;
    CommandBufferStatus current = CommandBufferStatus::NotCommitted;
    std::string failure;
    bool encoderOpen = false;
    Counted counted;
};

class ReferenceComputeEncoder final : public ComputeCommandEncoder {
public:
    explicit ReferenceComputeEncoder(std::shared_ptr<ReferenceCommandBuffer> buffer)
        : target(std::move(buffer)), counted(target->sharedState(), &LiveObjects::encoders) {}
    ~ReferenceComputeEncoder() override {
        if (!ended) target->state().complain("a compute encoder was dropped without endEncoding");
    }

    void setComputePipelineState(const std::shared_ptr<ComputePipelineState>& pipeline) override {
        pending = {};
        pending.pipeline = std::static_pointer_cast<ReferencePipeline>(pipeline);
    }

    void setBuffer(const std::shared_ptr<Buffer>& buffer, unsigned index) override {
        if (!buffer) return complain("a null buffer was bound");
        if (!target->ownsDeviceOf(*buffer)) complain("a buffer of another device was bound");
        pending.bindings[index] = useOf(buffer);
    }

    void setBytes(const void* bytes, std::size_t length, unsigned index) override {
        if (length > 4096) complain("more than 4096 bytes were bound");
        const auto* first = static_cast<const std::byte*>(bytes);
        pending.bindings[index] = Bytes(first, first + length);
    }

    void dispatchThreadgroups(const Size& groups, const Size& threads) override {
        if (ended) return complain("dispatched after endEncoding");
        if (!pending.pipeline) return complain("dispatched without a pipeline");
        if (groups.width == 0 || groups.height == 0 || groups.depth != 1 || threads.depth != 1) {
            complain("dispatched over no threads or over a volume");
        }
        pending.width = groups.width * threads.width;
        pending.height = groups.height * threads.height;
        if (boundAsDeclared()) target->record(pending);
        pending = {}; // bindings hold for one dispatch
    }

    void endEncoding() override {
        if (ended) complain("endEncoding twice");
        ended = true;
        target->endEncoder();
    }

private:
    // Exactly the kernel's indices, values of exactly their size.
    bool boundAsDeclared() {
        const CompiledKernel& kernel = pending.pipeline->kernel;
        bool right = pending.bindings.size() == kernel.indices.size();
        for (std::size_t k = 0; right && k < kernel.indices.size(); ++k) {
            const auto bound = pending.bindings.find(kernel.indices[k]);
            if (bound == pending.bindings.end()) {
                right = false;
            } else if (const auto* value = std::get_if<Bytes>(&bound->second)) {
                right = value->size() == kernel.valueSizes[k];
            } else {
                right = kernel.valueSizes[k] == 0;
            }
        }
        if (!right) complain(std::string(kernel.name) + " was not bound as it is declared");
        return right;
    }

    void complain(const std::string& what) { target->state().complain(what); }

    const std::shared_ptr<ReferenceCommandBuffer> target;
    Dispatch pending;
    bool ended = false;
    Counted counted;
};

class ReferenceBlitEncoder final : public BlitCommandEncoder {
public:
    explicit ReferenceBlitEncoder(std::shared_ptr<ReferenceCommandBuffer> buffer)
        : target(std::move(buffer)), counted(target->sharedState(), &LiveObjects::encoders) {}
    ~ReferenceBlitEncoder() override {
        if (!ended) target->state().complain("a blit encoder was dropped without endEncoding");
    }

    void copyFromBuffer(const std::shared_ptr<Buffer>& source, std::size_t sourceOffset,
                        const std::shared_ptr<Buffer>& destination, std::size_t destinationOffset,
                        std::size_t size) override {
        if (ended) return target->state().complain("copied after endEncoding");
        if (!source || !destination || sourceOffset + size > source->length() ||
            destinationOffset + size > destination->length()) {
            return target->state().complain("a copy reaches outside its buffers");
        }
        target->record(Copy{useOf(source), sourceOffset, useOf(destination), destinationOffset, size});
    }

    void endEncoding() override {
        if (ended) target->state().complain("endEncoding twice");
        ended = true;
        target->endEncoder();
    }

private:
    const std::shared_ptr<ReferenceCommandBuffer> target;
    bool ended = false;
    Counted counted;
};

std::shared_ptr<ComputeCommandEncoder> ReferenceCommandBuffer::computeCommandEncoder() {
    return openEncoder(Fault::ComputeEncoder) ? std::make_shared<ReferenceComputeEncoder>(shared_from_this()) : nullptr;
}

std::shared_ptr<BlitCommandEncoder> ReferenceCommandBuffer::blitCommandEncoder() {
    return openEncoder(Fault::BlitEncoder) ? std::make_shared<ReferenceBlitEncoder>(shared_from_this()) : nullptr;
}

class ReferenceQueue final : public CommandQueue {
public:
    ReferenceQueue(std::shared_ptr<State> state, HostQueue* of)
        : queue(of), owner(std::make_shared<ReferenceDevice>(state, of->device)),
          counted(std::move(state), &LiveObjects::queues) {}

    std::shared_ptr<Device> device() const override { return owner; }

    std::shared_ptr<CommandBuffer> commandBuffer() override {
        if (counted.state->fails(Fault::CommandBuffer)) return nullptr;
        return std::make_shared<ReferenceCommandBuffer>(counted.state, queue, owner);
    }

private:
    HostQueue* const queue;
    const std::shared_ptr<Device> owner;
    Counted counted;
};

// The life of a queue's thread. Stops only when nothing is committed any more.
void serve(State& state, HostQueue& queue) {
    std::unique_lock lock(state.mu);
    for (;;) {
        state.cv.wait(lock, [&] { return (!queue.committed.empty() && !state.paused) || state.stopping; });
        if (queue.committed.empty()) return;
        std::shared_ptr<ReferenceCommandBuffer> next = std::move(queue.committed.front());
        queue.committed.pop_front();
        queue.busy = true;
        lock.unlock();
        next->execute();
        next.reset();
        lock.lock();
        queue.busy = false;
        state.cv.notify_all();
    }
}

template <typename Owned>
Owned* find(std::list<Owned>& owned, void* handle) {
    for (Owned& one : owned) {
        if (&one == handle) return &one;
    }
    return nullptr;
}

template <typename Owned>
Owned& known(std::list<Owned>& owned, void* handle) {
    if (Owned* one = find(owned, handle)) return *one;
    throw std::invalid_argument("not a handle of this runtime");
}

} // namespace

ReferenceRuntime::ReferenceRuntime() : state(std::make_shared<State>()) {}

ReferenceRuntime::~ReferenceRuntime() {
    {
        const std::lock_guard lock(state->mu);
        state->paused = false;
        state->stopping = true;
    }
    state->cv.notify_all();
    for (HostQueue& queue : state->queues)
        queue.thread.join();
}

std::shared_ptr<CommandQueue> ReferenceRuntime::wrapQueue(void* handle) {
    HostQueue* queue = nullptr;
    {
        const std::lock_guard lock(state->mu);
        queue = find(state->queues, handle);
    }
    return queue ? std::make_shared<ReferenceQueue>(state, queue) : nullptr;
}

std::shared_ptr<Buffer> ReferenceRuntime::wrapBuffer(void* handle) {
    HostBuffer* buffer = nullptr;
    {
        const std::lock_guard lock(state->mu);
        buffer = find(state->buffers, handle);
    }
    if (!buffer) return nullptr;
    return std::make_shared<ReferenceBuffer>(std::make_shared<ReferenceDevice>(state, buffer->device), state,
                                             buffer->bytes, false);
}

void ReferenceRuntime::joinThreads() {
    std::unique_lock lock(state->mu);
    state->cv.wait(lock, [this] {
        return std::all_of(state->queues.begin(), state->queues.end(),
                           [](const HostQueue& queue) { return queue.committed.empty() && !queue.busy; });
    });
}

void* ReferenceRuntime::hostDevice() {
    const std::lock_guard lock(state->mu);
    return &state->devices.emplace_back();
}

void* ReferenceRuntime::hostQueue(void* device) {
    const std::lock_guard lock(state->mu);
    HostDevice& owner = known(state->devices, device);
    HostQueue& queue = state->queues.emplace_back();
    queue.device = &owner;
    queue.thread = std::thread([shared = state, &queue] { serve(*shared, queue); });
    return &queue;
}

void* ReferenceRuntime::hostBuffer(void* device, std::size_t length) {
    const std::lock_guard lock(state->mu);
    HostBuffer& buffer = state->buffers.emplace_back();
    buffer.device = &known(state->devices, device);
    buffer.bytes = std::make_shared<Bytes>(length, std::byte{0xff});
    return &buffer;
}

float* ReferenceRuntime::hostFloats(void* buffer) {
    const std::lock_guard lock(state->mu);
    return reinterpret_cast<float*>(known(state->buffers, buffer).bytes->data());
}

void ReferenceRuntime::fail(Fault fault, int skip, int times) {
    const std::lock_guard lock(state->mu);
    state->skip[static_cast<std::size_t>(fault)] = skip;
    state->times[static_cast<std::size_t>(fault)] = times;
}

int ReferenceRuntime::calls(Fault fault) const {
    const std::lock_guard lock(state->mu);
    return state->made[static_cast<std::size_t>(fault)];
}

void ReferenceRuntime::pause() {
    const std::lock_guard lock(state->mu);
    state->paused = true;
}

void ReferenceRuntime::resume() {
    {
        const std::lock_guard lock(state->mu);
        state->paused = false;
    }
    state->cv.notify_all();
}

LiveObjects ReferenceRuntime::live() const {
    const std::lock_guard lock(state->mu);
    return state->live;
}

std::vector<std::string> ReferenceRuntime::complaints() const {
    const std::lock_guard lock(state->mu);
    return state->complaints;
}

std::vector<std::string> ReferenceRuntime::executed() const {
    const std::lock_guard lock(state->mu);
    std::vector<std::string> names;
    for (const RanKernel& kernel : state->ran)
        names.push_back(kernel.name);
    return names;
}

std::vector<RanKernel> ReferenceRuntime::ran() const {
    const std::lock_guard lock(state->mu);
    return state->ran;
}

void ReferenceRuntime::forgetRan() {
    const std::lock_guard lock(state->mu);
    state->ran.clear();
}

const RanArgument& RanKernel::at(unsigned index) const {
    for (const RanArgument& argument : arguments) {
        if (argument.index == index) return argument;
    }
    throw std::out_of_range(name + ": nothing at index " + std::to_string(index));
}

std::size_t ReferenceRuntime::bytesAllocated() const {
    const std::lock_guard lock(state->mu);
    return state->bytesAllocated;
}

} // namespace velloid::gpu
