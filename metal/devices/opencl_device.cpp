// The GPU contract on any OpenCL 1.2 runtime. What differs from Metal, and how it is bridged:
//
// * A "device" of the renderer is a cl_context: buffers and programs belong to it, and the host's queue names it.
// * Commands are recorded and enqueued at commit, because a shared buffer has to reach the GPU before the kernels that
//   read it, and the host may write to it until then. Its bytes live in host memory; commit uploads what contents()
//   gave out, contents() fetches what a kernel may have changed.
// * Arguments have positions: the rank of their binding index.
// * Queues are made in order by barriers when the host's is not.
// * Nobody waits in the runtime for a command buffer: an event calls back, and one thread of ours runs the handlers.
// * Nothing of a context is kept between frames: it is the host's, which may destroy it as soon as its queue is empty.
//   Only the compiled kernels stay, as bytes in host memory.
#include "metal/devices/opencl_device.h"

#include "lifetime/process_wide.h"
#include "metal/compute_device.h"
#include "metal/devices/opencl_api.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <list>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <variant>

namespace velloid::gpu {

namespace {

using namespace velloid::opencl;

// Small shared buffers, the constant record of a frame above all, keep their bytes in host memory from birth, so that
// contents() costs no transfer.
constexpr std::size_t SMALL_BUFFER = 4096;

const Api& cl() {
    return *api();
}

std::string errorText(const char* call, cl_int code) {
    return std::string("OpenCL error ") + std::to_string(code) + " in " + call;
}

// --- Handles --------------------------------------------------------------------------------------------------------

cl_int release(cl_context handle) {
    return cl().clReleaseContext(handle);
}
cl_int release(cl_command_queue handle) {
    return cl().clReleaseCommandQueue(handle);
}
cl_int release(cl_mem handle) {
    return cl().clReleaseMemObject(handle);
}
cl_int release(cl_program handle) {
    return cl().clReleaseProgram(handle);
}
cl_int release(cl_kernel handle) {
    return cl().clReleaseKernel(handle);
}
cl_int release(cl_event handle) {
    return cl().clReleaseEvent(handle);
}

// One reference to an OpenCL object, given back at the end.
template <typename Handle>
class Owned {
public:
    Owned() = default;
    explicit Owned(Handle taken) : handle(taken) {}
    Owned(Owned&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    Owned& operator=(Owned&& other) noexcept {
        std::swap(handle, other.handle);
        return *this;
    }
    ~Owned() {
        if (handle) release(handle);
    }
    explicit operator bool() const { return handle != nullptr; }
    Handle get() const { return handle; }
    Handle* out() { return &handle; } // for a call that fills it; only while empty

private:
    Handle handle = nullptr;
};

Owned<cl_context> retained(cl_context handle) {
    return Owned(cl().clRetainContext(handle) == CL_SUCCESS ? handle : nullptr);
}
Owned<cl_command_queue> retained(cl_command_queue handle) {
    return Owned(cl().clRetainCommandQueue(handle) == CL_SUCCESS ? handle : nullptr);
}
Owned<cl_mem> retained(cl_mem handle) {
    return Owned(cl().clRetainMemObject(handle) == CL_SUCCESS ? handle : nullptr);
}

template <typename Value, typename Call, typename Handle>
std::optional<Value> info(Call call, Handle handle, cl_uint what) {
    Value value{};
    if (call(handle, what, sizeof value, &value, nullptr) != CL_SUCCESS) return std::nullopt;
    return value;
}

// A text that the runtime gives in two calls: its length, then its characters.
template <typename Call>
std::string infoText(Call call) {
    std::size_t length = 0;
    if (call(0, nullptr, &length) != CL_SUCCESS || length == 0) return {};
    std::string text(length, '\0');
    if (call(length, text.data(), nullptr) != CL_SUCCESS) return {};
    text.resize(std::strlen(text.c_str()));
    return text;
}

std::vector<cl_device_id> devicesOf(cl_context context) {
    std::size_t bytes = 0;
    if (cl().clGetContextInfo(context, CL_CONTEXT_DEVICES, 0, nullptr, &bytes) != CL_SUCCESS) return {};
    std::vector<cl_device_id> devices(bytes / sizeof(cl_device_id));
    if (cl().clGetContextInfo(context, CL_CONTEXT_DEVICES, bytes, devices.data(), nullptr) != CL_SUCCESS) return {};
    return devices;
}

std::string nameOf(cl_device_id device) {
    const auto text = [device](cl_uint what) {
        return infoText([=](std::size_t size, void* to, std::size_t* length) {
            return cl().clGetDeviceInfo(device, what, size, to, length);
        });
    };
    return text(CL_DEVICE_VENDOR) + " " + text(CL_DEVICE_NAME);
}

// --- Buffers --------------------------------------------------------------------------------------------------------

class OpenClBuffer final : public Buffer {
public:
    OpenClBuffer(std::shared_ptr<Device> of, Owned<cl_mem> memory, std::size_t length, bool shared)
        : owner(std::move(of)), mem(std::move(memory)), bytes(length), hostVisible(shared) {}

    std::shared_ptr<Device> device() const override { return owner; }
    std::size_t length() const override { return bytes; }
    void* contents() override;

    cl_mem handle() const { return mem.get(); }

    // The bytes that host memory starts with, for a buffer made from bytes.
    void startWith(const void* from) {
        if (bytes > SMALL_BUFFER) {
            newerOnDevice = true;
            return;
        }
        if (allocate()) std::memcpy(host.get(), from, bytes);
    }

    // Uploads what the host may have written since the last time.
    cl_int upload(cl_command_queue queue) {
        if (!newerOnHost.exchange(false)) return CL_SUCCESS;
        return cl().clEnqueueWriteBuffer(queue, mem.get(), CL_FALSE, 0, bytes, host.get(), 0, nullptr, nullptr);
    }

    // A command may write to it.
    void used() {
        if (hostVisible) newerOnDevice = true;
    }

private:
    bool allocate() {
        if (!host) host.reset(new (std::nothrow) std::byte[bytes]());
        return host != nullptr;
    }

    const std::shared_ptr<Device> owner;
    const Owned<cl_mem> mem;
    const std::size_t bytes;
    const bool hostVisible;
    std::unique_ptr<std::byte[]> host;       // made when contents() is first asked for
    std::atomic<bool> newerOnHost = false;   // contents() gave the bytes out
    std::atomic<bool> newerOnDevice = false; // a command had the buffer bound
};

// --- Programs -------------------------------------------------------------------------------------------------------

class OpenClPipeline final : public ComputePipelineState {
public:
    OpenClPipeline(Owned<cl_kernel> compiled, std::string function, cl_uint count)
        : kernel(std::move(compiled)), name(std::move(function)), arguments(count) {}

    const Owned<cl_kernel> kernel;
    const std::string name;
    const cl_uint arguments;
    std::mutex mu; // guards the kernel's arguments, from the first that is set to the enqueueing
};

class OpenClLibrary final : public Library {
public:
    explicit OpenClLibrary(Owned<cl_program> built) : program(std::move(built)) {}

    std::vector<std::string> functionNames() const override {
        cl_uint count = 0;
        if (cl().clCreateKernelsInProgram(program.get(), 0, nullptr, &count) != CL_SUCCESS) return {};
        std::vector<cl_kernel> made(count, nullptr);
        if (cl().clCreateKernelsInProgram(program.get(), count, made.data(), nullptr) != CL_SUCCESS) return {};
        std::vector<std::string> names;
        for (const cl_kernel handle : made) {
            const Owned<cl_kernel> kernel(handle);
            names.push_back(infoText([&](std::size_t size, void* to, std::size_t* length) {
                return cl().clGetKernelInfo(kernel.get(), CL_KERNEL_FUNCTION_NAME, size, to, length);
            }));
        }
        return names;
    }

    std::shared_ptr<ComputePipelineState> newComputePipelineState(const std::string& functionName,
                                                                  std::string& error) override {
        cl_int code = CL_SUCCESS;
        Owned<cl_kernel> kernel(cl().clCreateKernel(program.get(), functionName.c_str(), &code));
        const auto count =
            kernel ? info<cl_uint>(cl().clGetKernelInfo, kernel.get(), CL_KERNEL_NUM_ARGS) : std::nullopt;
        if (!count) {
            error = errorText("clCreateKernel", code);
            return nullptr;
        }
        return std::make_shared<OpenClPipeline>(std::move(kernel), functionName, *count);
    }

private:
    const Owned<cl_program> program;
};

std::string buildLog(cl_program program, cl_context context) {
    std::string log;
    for (const cl_device_id device : devicesOf(context)) {
        log += infoText([=](std::size_t size, void* to, std::size_t* length) {
            return cl().clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, size, to, length);
        });
    }
    return log;
}

// What a runtime compiled, in its own form, for the next context of the same devices.
class CompiledKernels {
public:
    // A built program; null when there is none for these devices and this text, or the runtime does not take it back.
    Owned<cl_program> load(cl_context context, const std::string& key, const char* flags) {
        const std::lock_guard lock(mu);
        const auto found = kept.find({devicesOf(context), key});
        if (found == kept.end()) return {};
        const std::vector<cl_device_id>& devices = found->second.devices;
        std::vector<std::size_t> lengths;
        std::vector<const unsigned char*> bytes;
        for (const std::vector<unsigned char>& one : found->second.code) {
            lengths.push_back(one.size());
            bytes.push_back(one.data());
        }
        Owned<cl_program> program(cl().clCreateProgramWithBinary(context, static_cast<cl_uint>(devices.size()),
                                                                 devices.data(), lengths.data(), bytes.data(), nullptr,
                                                                 nullptr));
        if (program && cl().clBuildProgram(program.get(), 0, nullptr, flags, nullptr, nullptr) == CL_SUCCESS) {
            return program;
        }
        kept.erase(found);
        return {};
    }

    // Not kept when the runtime does not give it out: it is then compiled for every context.
    void keep(cl_program program, const std::string& key) {
        const auto read = [program](cl_uint what, auto& values) {
            return cl().clGetProgramInfo(program, what, values.size() * sizeof values[0], values.data(), nullptr) ==
                   CL_SUCCESS;
        };
        std::vector<cl_uint> count(1);
        if (!read(CL_PROGRAM_NUM_DEVICES, count)) return;
        Entry entry{std::vector<cl_device_id>(count[0]), std::vector<std::vector<unsigned char>>(count[0])};
        std::vector<std::size_t> lengths(count[0]);
        std::vector<unsigned char*> bytes;
        if (!read(CL_PROGRAM_DEVICES, entry.devices) || !read(CL_PROGRAM_BINARY_SIZES, lengths)) return;
        for (std::size_t i = 0; i < lengths.size(); ++i) {
            if (lengths[i] == 0) return;
            entry.code[i].resize(lengths[i]);
            bytes.push_back(entry.code[i].data());
        }
        if (!read(CL_PROGRAM_BINARIES, bytes)) return;
        const std::lock_guard lock(mu);
        kept[{entry.devices, key}] = std::move(entry);
    }

    void forget() {
        const std::lock_guard lock(mu);
        kept.clear();
    }

private:
    struct Entry {
        std::vector<cl_device_id> devices;
        std::vector<std::vector<unsigned char>> code; // of each device
    };
    std::mutex mu;                                                           // guards kept
    std::map<std::pair<std::vector<cl_device_id>, std::string>, Entry> kept; // by devices and flags with text
};

ProcessWide<CompiledKernels> gCompiledKernels; // emptied when the renderer shuts down

// --- Device ---------------------------------------------------------------------------------------------------------

class OpenClDevice final : public Device, public std::enable_shared_from_this<OpenClDevice> {
public:
    explicit OpenClDevice(Owned<cl_context> of) : context(std::move(of)) {}

    void* handle() const override { return context.get(); }
    bool outlivesFrames() const override { return false; }

    std::string name() const override {
        const auto devices = devicesOf(context.get());
        return devices.empty() ? "OpenCL" : nameOf(devices.front());
    }

    std::shared_ptr<Library> newLibraryWithSource(const std::string& source, const CompileOptions& options,
                                                  std::string& error) override {
        // Not -cl-fast-relaxed-math: it would make the sine of the weave's kernel the fast one, and there is no word
        // for the precise one. For all devices of the context, since a host may have a queue on each.
        const char* flags =
            options.fastMathEnabled ? "-cl-std=CL1.2 -cl-mad-enable -cl-no-signed-zeros" : "-cl-std=CL1.2";
        const std::string key = std::string(flags) + "\n" + source;
        if (auto program = gCompiledKernels->load(context.get(), key, flags)) {
            return std::make_shared<OpenClLibrary>(std::move(program));
        }
        const char* text = source.data();
        const std::size_t length = source.size();
        cl_int code = CL_SUCCESS;
        Owned<cl_program> program(cl().clCreateProgramWithSource(context.get(), 1, &text, &length, &code));
        if (!program) {
            error = errorText("clCreateProgramWithSource", code);
            return nullptr;
        }
        code = cl().clBuildProgram(program.get(), 0, nullptr, flags, nullptr, nullptr);
        if (code != CL_SUCCESS) {
            error = errorText("clBuildProgram", code) + "\n" + buildLog(program.get(), context.get());
            return nullptr;
        }
        gCompiledKernels->keep(program.get(), key);
        return std::make_shared<OpenClLibrary>(std::move(program));
    }

    std::shared_ptr<Buffer> newBufferWithLength(std::size_t length, StorageMode mode) override {
        return make(length, CL_MEM_READ_WRITE, nullptr, mode == StorageMode::Shared);
    }

    std::shared_ptr<Buffer> newBufferWithBytes(const void* bytes, std::size_t length) override {
        // OpenCL takes the pointer as writable; a copy is only read.
        auto buffer = make(length, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, const_cast<void*>(bytes), true);
        if (buffer) buffer->startWith(bytes);
        return buffer;
    }

    // Copies a buffer to host memory and waits for it.
    bool fetch(cl_mem memory, std::size_t length, void* to) {
        const std::lock_guard lock(transferMu);
        if (!transfer) {
            const auto devices = devicesOf(context.get());
            cl_int code = CL_SUCCESS;
            if (!devices.empty()) {
                transfer = Owned(cl().clCreateCommandQueue(context.get(), devices.front(), 0, &code));
            }
        }
        return transfer && cl().clEnqueueReadBuffer(transfer.get(), memory, CL_TRUE, 0, length, to, 0, nullptr,
                                                    nullptr) == CL_SUCCESS;
    }

private:
    std::shared_ptr<OpenClBuffer> make(std::size_t length, cl_bitfield flags, void* bytes, bool shared) {
        cl_int code = CL_SUCCESS;
        Owned<cl_mem> memory(cl().clCreateBuffer(context.get(), flags, length, bytes, &code));
        if (!memory) return nullptr;
        return std::make_shared<OpenClBuffer>(shared_from_this(), std::move(memory), length, shared);
    }

    const Owned<cl_context> context;
    std::mutex transferMu;            // guards transfer
    Owned<cl_command_queue> transfer; // for contents(), made when first needed
};

void* OpenClBuffer::contents() {
    if (!hostVisible || !allocate()) return nullptr;
    if (newerOnDevice) {
        if (!static_cast<OpenClDevice&>(*owner).fetch(mem.get(), bytes, host.get())) return nullptr;
        newerOnDevice = false;
    }
    newerOnHost = true;
    return host.get();
}

// --- Completion -----------------------------------------------------------------------------------------------------

class OpenClCommandBuffer;

// The command buffers that queues have taken. The runtime says when one is done (clSetEventCallback), on a thread of
// its own on which little is allowed; one sleeping thread of ours then runs the handlers and lets go of what they hold.
class Completions {
public:
    using Place = std::list<std::shared_ptr<OpenClCommandBuffer>>::iterator;

    // From here on joinThread waits for it. Throws when there is no memory or no thread.
    Place expect(std::shared_ptr<OpenClCommandBuffer> commands);

    // It will not come after all.
    void forget(Place place);

    // It is done. From any thread, the last thing that a callback does.
    void arrived(Place place);

    // Returns when nothing is expected any more and the thread is gone. Not while others commit.
    void joinThread();

private:
    void serve();

    std::mutex mu; // guards everything below
    std::condition_variable cv;
    std::list<std::shared_ptr<OpenClCommandBuffer>> expected;
    std::list<std::shared_ptr<OpenClCommandBuffer>> done;
    bool finishing = false; // the thread is in somebody's handlers
    bool stop = false;
    std::thread thread; // started with the first that is expected
};

ProcessWide<Completions> gCompletions;

// --- Commands -------------------------------------------------------------------------------------------------------

using BufferPointer = std::shared_ptr<OpenClBuffer>;
using Bytes = std::vector<std::byte>;

struct Dispatch {
    std::shared_ptr<OpenClPipeline> pipeline;
    std::map<unsigned, std::variant<BufferPointer, Bytes>> bindings; // ascending: position = rank
    std::size_t global[2] = {0, 0};
    std::size_t local[2] = {0, 0};
};

struct Copy {
    BufferPointer source;
    std::size_t sourceOffset = 0;
    BufferPointer destination;
    std::size_t destinationOffset = 0;
    std::size_t size = 0;
};

using Command = std::variant<Dispatch, Copy>;

// Host bytes go up before the first command that may read them.
void prepare(const BufferPointer& buffer, cl_command_queue queue, std::string& error) {
    const cl_int code = buffer->upload(queue);
    if (code != CL_SUCCESS) error = errorText("clEnqueueWriteBuffer", code);
    buffer->used();
}

void prepare(const Dispatch& dispatch, cl_command_queue queue, std::string& error) {
    for (const auto& bound : dispatch.bindings) {
        if (const auto* buffer = std::get_if<BufferPointer>(&bound.second)) prepare(*buffer, queue, error);
    }
}

void prepare(const Copy& copy, cl_command_queue queue, std::string& error) {
    prepare(copy.source, queue, error);
    prepare(copy.destination, queue, error);
}

cl_int setArgument(cl_kernel kernel, cl_uint rank, const BufferPointer& buffer) {
    const cl_mem memory = buffer->handle();
    return cl().clSetKernelArg(kernel, rank, sizeof memory, &memory);
}

cl_int setArgument(cl_kernel kernel, cl_uint rank, const Bytes& value) {
    return cl().clSetKernelArg(kernel, rank, value.size(), value.data());
}

void enqueue(const Dispatch& dispatch, cl_command_queue queue, std::string& error) {
    const cl_kernel kernel = dispatch.pipeline->kernel.get();
    if (dispatch.bindings.size() != dispatch.pipeline->arguments) {
        error = dispatch.pipeline->name + ": " + std::to_string(dispatch.bindings.size()) + " arguments bound, " +
                std::to_string(dispatch.pipeline->arguments) + " declared";
        return;
    }
    const std::lock_guard lock(dispatch.pipeline->mu);
    cl_uint rank = 0;
    for (const auto& bound : dispatch.bindings) {
        const cl_int code =
            std::visit([&](const auto& value) { return setArgument(kernel, rank, value); }, bound.second);
        if (code != CL_SUCCESS) {
            error = errorText("clSetKernelArg", code) + ": " + dispatch.pipeline->name;
            return;
        }
        ++rank;
    }
    const auto run = [&](const std::size_t* local) {
        return cl().clEnqueueNDRangeKernel(queue, kernel, 2, nullptr, dispatch.global, local, 0, nullptr, nullptr);
    };
    cl_int code = run(dispatch.local);
    // A device with smaller groups than ours chooses its own; the kernels do not care.
    if (code == CL_INVALID_WORK_GROUP_SIZE || code == CL_INVALID_WORK_ITEM_SIZE) code = run(nullptr);
    if (code != CL_SUCCESS) error = errorText("clEnqueueNDRangeKernel", code) + ": " + dispatch.pipeline->name;
}

void enqueue(const Copy& copy, cl_command_queue queue, std::string& error) {
    const cl_int code =
        cl().clEnqueueCopyBuffer(queue, copy.source->handle(), copy.destination->handle(), copy.sourceOffset,
                                 copy.destinationOffset, copy.size, 0, nullptr, nullptr);
    if (code != CL_SUCCESS) error = errorText("clEnqueueCopyBuffer", code);
}

// The host's queue.
struct QueueHandle {
    Owned<cl_command_queue> queue;
    bool inOrder = true;
};

class OpenClCommandBuffer final : public CommandBuffer, public std::enable_shared_from_this<OpenClCommandBuffer> {
public:
    explicit OpenClCommandBuffer(std::shared_ptr<QueueHandle> of) : target(std::move(of)) {}

    std::shared_ptr<ComputeCommandEncoder> computeCommandEncoder() override;
    std::shared_ptr<BlitCommandEncoder> blitCommandEncoder() override;

    void addCompletedHandler(CompletedHandler handler) override { handlers.push_back(std::move(handler)); }

    bool commit() override {
        {
            const std::lock_guard lock(mu);
            if (current != CommandBufferStatus::NotCommitted) return false;
            current = CommandBufferStatus::Committed;
        }
        const std::shared_ptr<QueueHandle> on = target; // finish() may come before this returns
        bool expected = false;
        try {
            place = gCompletions->expect(shared_from_this());
            expected = true;
            std::string failure = enqueueAll();
            if (failure.empty()) failure = watch();
            if (failure.empty()) {
                cl().clFlush(on->queue.get());
                return true;
            }
            refuse(expected, std::move(failure));
            return false;
        } catch (const std::system_error& noThread) {
            refuse(expected, noThread.what());
            return false;
        } catch (...) {
            refuse(expected, {});
            throw;
        }
    }

    void waitUntilCompleted() override {
        std::unique_lock lock(mu);
        cv.wait(lock, [this] { return current != CommandBufferStatus::Committed; });
    }

    CommandBufferStatus status() const override {
        const std::lock_guard lock(mu);
        return current;
    }

    std::string error() const override {
        const std::lock_guard lock(mu);
        return failed;
    }

    void record(Command command) { commands.push_back(std::move(command)); }

    // On the thread of completions.
    void finish() {
        const std::vector<CompletedHandler> toCall = std::move(handlers);
        if (outcome == CL_SUCCESS) {
            end(CommandBufferStatus::Completed, {});
        } else {
            end(CommandBufferStatus::Error, "OpenCL error " + std::to_string(outcome) + " while it ran");
        }
        for (const CompletedHandler& handler : toCall)
            handler(*this);
    }

private:
    // Uploads first, then every command in order; stops at the first error and returns it.
    std::string enqueueAll() {
        std::string error;
        const cl_command_queue queue = target->queue.get();
        for (const Command& command : commands) {
            if (!error.empty()) break;
            std::visit([&](const auto& one) { prepare(one, queue, error); }, command);
        }
        order();
        for (const Command& command : commands) {
            if (!error.empty()) break;
            std::visit([&](const auto& one) { enqueue(one, queue, error); }, command);
            order();
        }
        return error;
    }

    // Lets what follows see what came before, on queues that promise nothing.
    void order() {
        if (!target->inOrder) cl().clEnqueueBarrierWithWaitList(target->queue.get(), 0, nullptr, nullptr);
    }

    // Asks the runtime to say when all of it is done. The error's text, or none. The marker is kept until the call is
    // over, because what it announces may come before; the runtime keeps an event until its command is done.
    std::string watch() {
        Owned<cl_event> marker;
        cl_int code = cl().clEnqueueMarkerWithWaitList(target->queue.get(), 0, nullptr, marker.out());
        if (code != CL_SUCCESS) return errorText("clEnqueueMarkerWithWaitList", code);
        code = cl().clSetEventCallback(marker.get(), CL_COMPLETE, &OpenClCommandBuffer::onComplete, this);
        return code == CL_SUCCESS ? std::string() : errorText("clSetEventCallback", code);
    }

    static void TARNWELL_CL_CALL onComplete(cl_event, cl_int status, void* self) {
        auto* commands = static_cast<OpenClCommandBuffer*>(self);
        commands->outcome = status;
        gCompletions->arrived(commands->place);
    }

    // Waits for the commands that the queue took before something went wrong: they use the buffers.
    void refuse(bool expected, std::string why) {
        cl().clFinish(target->queue.get());
        if (expected) gCompletions->forget(place);
        end(CommandBufferStatus::Error, std::move(why));
        handlers.clear();
    }

    // Lets go of everything but the handlers.
    void end(CommandBufferStatus status, std::string why) {
        commands.clear();
        target.reset();
        {
            const std::lock_guard lock(mu);
            current = status;
            failed = std::move(why);
        }
        cv.notify_all();
    }

    // By the committing thread, then by the one that ends it.
    std::shared_ptr<QueueHandle> target; // null once it is over: a host's queue is not kept longer
    std::vector<Command> commands;
    std::vector<CompletedHandler> handlers;
    Completions::Place place;
    cl_int outcome = CL_SUCCESS;
    mutable std::mutex mu;      // guards current and failed
    std::condition_variable cv; // current changed
    CommandBufferStatus current = CommandBufferStatus::NotCommitted;
    std::string failed;
};

Completions::Place Completions::expect(std::shared_ptr<OpenClCommandBuffer> commands) {
    const std::lock_guard lock(mu);
    if (!thread.joinable()) thread = std::thread(&Completions::serve, this);
    expected.push_back(std::move(commands));
    return std::prev(expected.end());
}

void Completions::forget(Place place) {
    std::list<std::shared_ptr<OpenClCommandBuffer>> dropped;
    const std::lock_guard lock(mu);
    dropped.splice(dropped.end(), expected, place);
    cv.notify_all();
}

void Completions::arrived(Place place) {
    const std::lock_guard lock(mu);
    done.splice(done.end(), expected, place);
    cv.notify_all();
}

void Completions::serve() {
    std::unique_lock lock(mu);
    for (;;) {
        cv.wait(lock, [this] { return stop || !done.empty(); });
        if (done.empty()) return;
        std::shared_ptr<OpenClCommandBuffer> next = std::move(done.front());
        done.pop_front();
        finishing = true;
        lock.unlock();
        next->finish();
        next.reset();
        lock.lock();
        finishing = false;
        cv.notify_all();
    }
}

void Completions::joinThread() {
    std::unique_lock lock(mu);
    cv.wait(lock, [this] { return expected.empty() && done.empty() && !finishing; });
    if (!thread.joinable()) return;
    std::thread ending = std::move(thread);
    stop = true;
    cv.notify_all();
    lock.unlock();
    ending.join();
    lock.lock();
    stop = false;
}

class OpenClComputeEncoder final : public ComputeCommandEncoder {
public:
    explicit OpenClComputeEncoder(std::shared_ptr<OpenClCommandBuffer> buffer) : target(std::move(buffer)) {}

    void setComputePipelineState(const std::shared_ptr<ComputePipelineState>& pipeline) override {
        pending = {};
        pending.pipeline = std::static_pointer_cast<OpenClPipeline>(pipeline);
    }

    void setBuffer(const std::shared_ptr<Buffer>& buffer, unsigned index) override {
        pending.bindings[index] = std::static_pointer_cast<OpenClBuffer>(buffer);
    }

    void setBytes(const void* bytes, std::size_t length, unsigned index) override {
        const auto* first = static_cast<const std::byte*>(bytes);
        pending.bindings[index] = Bytes(first, first + length);
    }

    void dispatchThreadgroups(const Size& groups, const Size& threads) override {
        pending.local[0] = threads.width;
        pending.local[1] = threads.height;
        pending.global[0] = std::size_t{groups.width} * threads.width;
        pending.global[1] = std::size_t{groups.height} * threads.height;
        target->record(std::move(pending));
        pending = {};
    }

    void endEncoding() override {}

private:
    const std::shared_ptr<OpenClCommandBuffer> target;
    Dispatch pending;
};

class OpenClBlitEncoder final : public BlitCommandEncoder {
public:
    explicit OpenClBlitEncoder(std::shared_ptr<OpenClCommandBuffer> buffer) : target(std::move(buffer)) {}

    void copyFromBuffer(const std::shared_ptr<Buffer>& source, std::size_t sourceOffset,
                        const std::shared_ptr<Buffer>& destination, std::size_t destinationOffset,
                        std::size_t size) override {
        target->record(Copy{std::static_pointer_cast<OpenClBuffer>(source), sourceOffset,
                            std::static_pointer_cast<OpenClBuffer>(destination), destinationOffset, size});
    }

    void endEncoding() override {}

private:
    const std::shared_ptr<OpenClCommandBuffer> target;
};

std::shared_ptr<ComputeCommandEncoder> OpenClCommandBuffer::computeCommandEncoder() {
    return std::make_shared<OpenClComputeEncoder>(shared_from_this());
}

std::shared_ptr<BlitCommandEncoder> OpenClCommandBuffer::blitCommandEncoder() {
    return std::make_shared<OpenClBlitEncoder>(shared_from_this());
}

class OpenClQueue final : public CommandQueue {
public:
    OpenClQueue(std::shared_ptr<QueueHandle> of, Owned<cl_context> context)
        : queue(std::move(of)), owner(std::make_shared<OpenClDevice>(std::move(context))) {}

    std::shared_ptr<Device> device() const override { return owner; }
    std::shared_ptr<CommandBuffer> commandBuffer() override { return std::make_shared<OpenClCommandBuffer>(queue); }

private:
    const std::shared_ptr<QueueHandle> queue;
    const std::shared_ptr<OpenClDevice> owner;
};

// --- Runtime --------------------------------------------------------------------------------------------------------

// What was found out about devices.
class Verdicts {
public:
    std::optional<bool> of(cl_device_id device, const std::function<std::optional<bool>(const char*)>& test) {
        const std::lock_guard lock(mu);
        const auto known = all.find(device);
        if (known != all.end()) return known->second;
        const std::optional<bool> verdict = test(nameOf(device).c_str());
        if (verdict) all[device] = *verdict;
        return verdict;
    }

    void forget() {
        const std::lock_guard lock(mu);
        all.clear();
    }

private:
    std::mutex mu; // guards all; held while a device is tested
    std::map<cl_device_id, bool> all;
};

ProcessWide<Verdicts> gVerdicts; // emptied when the renderer shuts down

class OpenClRuntime final : public Runtime {
public:
    const char* name() const override { return "OpenCL"; }

    std::shared_ptr<CommandQueue> wrapQueue(void* handle) override {
        const auto given = static_cast<cl_command_queue>(handle);
        if (!given) return nullptr;
        const auto context = info<cl_context>(cl().clGetCommandQueueInfo, given, CL_QUEUE_CONTEXT);
        const auto properties = info<cl_bitfield>(cl().clGetCommandQueueInfo, given, CL_QUEUE_PROPERTIES);
        if (!context || !properties) return nullptr;
        auto queue = std::make_shared<QueueHandle>();
        queue->queue = retained(given);
        queue->inOrder = (*properties & CL_QUEUE_OUT_OF_ORDER_EXEC_MODE_ENABLE) == 0;
        Owned<cl_context> owner = retained(*context);
        if (!queue->queue || !owner) return nullptr;
        return std::make_shared<OpenClQueue>(std::move(queue), std::move(owner));
    }

    std::shared_ptr<Buffer> wrapBuffer(void* handle) override {
        const auto given = static_cast<cl_mem>(handle);
        if (!given) return nullptr;
        const auto type = info<cl_uint>(cl().clGetMemObjectInfo, given, CL_MEM_TYPE);
        const auto length = info<std::size_t>(cl().clGetMemObjectInfo, given, CL_MEM_SIZE);
        const auto context = info<cl_context>(cl().clGetMemObjectInfo, given, CL_MEM_CONTEXT);
        if (!type || *type != CL_MEM_OBJECT_BUFFER || !length || !context) return nullptr;
        Owned<cl_context> owner = retained(*context);
        Owned<cl_mem> memory = retained(given);
        if (!owner || !memory) return nullptr;
        return std::make_shared<OpenClBuffer>(std::make_shared<OpenClDevice>(std::move(owner)), std::move(memory),
                                              *length, false);
    }

    void joinThreads() override { gCompletions->joinThread(); }
    void forgetAll() override {
        gCompiledKernels->forget();
        gVerdicts->forget();
    }
};

std::vector<cl_device_id> allDevices(cl_bitfield type) {
    cl_uint count = 0;
    if (cl().clGetPlatformIDs(0, nullptr, &count) != CL_SUCCESS) return {};
    std::vector<cl_platform_id> platforms(count);
    if (count == 0 || cl().clGetPlatformIDs(count, platforms.data(), nullptr) != CL_SUCCESS) return {};
    std::vector<cl_device_id> all;
    for (const cl_platform_id platform : platforms) {
        cl_uint here = 0;
        if (cl().clGetDeviceIDs(platform, type, 0, nullptr, &here) != CL_SUCCESS || here == 0) continue;
        std::vector<cl_device_id> devices(here);
        if (cl().clGetDeviceIDs(platform, type, here, devices.data(), nullptr) != CL_SUCCESS) continue;
        all.insert(all.end(), devices.begin(), devices.end());
    }
    return all;
}

ProcessWide<OpenClRuntime> gRuntime;

} // namespace

Runtime* openclRuntime() {
    return api() ? &*gRuntime : nullptr;
}

std::optional<bool> openclVerdict(void* queue, const std::function<std::optional<bool>(const char*)>& test) {
    if (!api() || !queue) return std::nullopt;
    const auto device =
        info<cl_device_id>(cl().clGetCommandQueueInfo, static_cast<cl_command_queue>(queue), CL_QUEUE_DEVICE);
    return device ? gVerdicts->of(*device, test) : std::nullopt;
}

namespace {

// A copy that waits for all that is on the queue before, whatever order the queue keeps.
template <typename Copy>
bool copyOnQueue(void* queue, void* buffer, Copy copy) {
    if (!api() || !queue || !buffer) return false;
    const auto on = static_cast<cl_command_queue>(queue);
    return cl().clFinish(on) == CL_SUCCESS && copy(on, static_cast<cl_mem>(buffer)) == CL_SUCCESS;
}

} // namespace

bool readOpenClBuffer(void* queue, void* buffer, void* bytes, std::size_t length) {
    return copyOnQueue(queue, buffer, [=](cl_command_queue on, cl_mem from) {
        return cl().clEnqueueReadBuffer(on, from, CL_TRUE, 0, length, bytes, 0, nullptr, nullptr);
    });
}

bool writeOpenClBuffer(void* queue, void* buffer, const void* bytes, std::size_t length) {
    return copyOnQueue(queue, buffer, [=](cl_command_queue on, cl_mem to) {
        return cl().clEnqueueWriteBuffer(on, to, CL_TRUE, 0, length, bytes, 0, nullptr, nullptr);
    });
}

std::unique_ptr<OpenClHostQueue> OpenClHostQueue::create() {
    if (!api()) return nullptr;
    std::vector<cl_device_id> devices = allDevices(CL_DEVICE_TYPE_GPU);
    if (devices.empty()) devices = allDevices(CL_DEVICE_TYPE_ALL);
    if (devices.empty()) return nullptr;
    cl_int code = CL_SUCCESS;
    Owned<cl_context> context(cl().clCreateContext(nullptr, 1, &devices.front(), nullptr, nullptr, &code));
    if (!context) return nullptr;
    Owned<cl_command_queue> queue(cl().clCreateCommandQueue(context.get(), devices.front(), 0, &code));
    if (!queue) return nullptr;
    std::unique_ptr<OpenClHostQueue> made(new OpenClHostQueue);
    made->name = nameOf(devices.front());
    made->contextHandle = std::exchange(*context.out(), nullptr);
    made->queueHandle = std::exchange(*queue.out(), nullptr);
    return made;
}

OpenClHostQueue::~OpenClHostQueue() {
    if (queueHandle) release(static_cast<cl_command_queue>(queueHandle));
    if (contextHandle) release(static_cast<cl_context>(contextHandle));
}

} // namespace velloid::gpu
