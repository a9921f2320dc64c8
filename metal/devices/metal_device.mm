// The GPU contract on Apple's Metal: a thin layer, the only file that knows the framework. Manual retain and release.
//
// * A "device" of the renderer is the MTLDevice object itself: the framework has one per GPU.
// * Every call into the framework runs in an autorelease pool, because the threads of a host have none, and behind a
//   catch: what it raises becomes a null pointer or an error text. Nothing in there may throw a C++ exception, since
//   not every Objective-C runtime lets one pass; so C++ objects are made outside.
// * Handlers wait in our command buffer until commit and travel through a block that captures a plain pointer: it has
// no
//   code of ours left to run when the framework destroys it, after a host may have unloaded us.
#include "metal/devices/metal_device.h"

#include "lifetime/process_wide.h"

#import <Foundation/Foundation.h>
#import <Metal/Metal.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>
#include <utility>

#if defined(__has_feature)
#if __has_feature(objc_arc)
#error "This file retains and releases by hand: build it without ARC."
#endif
#endif

// MTLCompileOptions of macOS 15, declared here for older SDKs, and MTLMathModeRelaxed.
@protocol MathMode
- (void)setMathMode:(NSInteger)mode;
@end

namespace velloid::gpu {

namespace {

constexpr NSInteger MATH_MODE_RELAXED = 1;

// --- Objects --------------------------------------------------------------------------------------------------------

// One retain of an Objective-C object, released at the end.
template <typename Object> class Owned {
  public:
    Owned() = default;
    explicit Owned(Object retained) : object(retained) {}
    Owned(Owned&& other) noexcept : object(std::exchange(other.object, nil)) {}
    Owned& operator=(Owned&&) = delete;
    ~Owned() {
        if (object == nil)
            return;
        @autoreleasepool {
            [object release];
        }
    }
    explicit operator bool() const { return object != nil; }
    Object get() const { return object; }

  private:
    Object object = nil;
};

// What `call` returns, or a zero of its kind when the framework raised an exception, whose reason is then in `raised`
// (retained).
template <typename Call> auto framework(Call call, NSString*& raised) -> decltype(call()) {
    decltype(call()) result{};
    @autoreleasepool {
        @try {
            result = call();
        } @catch (NSException* exception) {
            raised = [([exception reason] ? [exception reason] : [exception name]) retain];
        }
    }
    return result;
}

template <typename Call> auto framework(Call call) -> decltype(call()) {
    NSString* raised = nil;
    const auto result = framework(call, raised);
    [raised release];
    return result;
}

std::string textOf(NSString* text) {
    std::string copied;
    @autoreleasepool {
        if (const char* bytes = [text UTF8String])
            copied = bytes;
    }
    return copied;
}

// The words of a failure: the exception's, the error's, or ours. Takes the two retains over.
std::string failure(NSString* raised, NSString* described, const char* otherwise) {
    const Owned<NSString*> first(raised);
    const Owned<NSString*> second(described);
    if (first)
        return textOf(first.get());
    return second ? textOf(second.get()) : otherwise;
}

// --- Device ---------------------------------------------------------------------------------------------------------

class MetalBuffer final : public Buffer {
  public:
    MetalBuffer(Owned<id<MTLBuffer>> memory, bool shared) : buffer(std::move(memory)), hostVisible(shared) {}

    std::shared_ptr<Device> device() const override;
    std::size_t length() const override {
        return framework([this] { return [buffer.get() length]; });
    }
    void* contents() override {
        if (!hostVisible)
            return nullptr;
        return framework([this] { return [buffer.get() contents]; });
    }

    const Owned<id<MTLBuffer>> buffer;

  private:
    const bool hostVisible;
};

class MetalPipeline final : public ComputePipelineState {
  public:
    explicit MetalPipeline(Owned<id<MTLComputePipelineState>> made) : pipeline(std::move(made)) {}
    const Owned<id<MTLComputePipelineState>> pipeline;
};

class MetalLibrary final : public Library {
  public:
    MetalLibrary(Owned<id<MTLDevice>> of, Owned<id<MTLLibrary>> compiled)
        : device(std::move(of)), library(std::move(compiled)) {}

    std::vector<std::string> functionNames() const override {
        const Owned<NSArray*> names(framework([this] { return (NSArray*)[[library.get() functionNames] retain]; }));
        std::vector<std::string> all;
        for (NSUInteger i = 0; i < [names.get() count]; ++i)
            all.push_back(textOf([names.get() objectAtIndex:i]));
        return all;
    }

    std::shared_ptr<ComputePipelineState> newComputePipelineState(const std::string& functionName,
                                                                  std::string& error) override {
        NSString* raised = nil;
        NSString* described = nil;
        const char* name = functionName.c_str();
        Owned<id<MTLComputePipelineState>> pipeline(framework([&] { return make(name, described); }, raised));
        if (!pipeline) {
            error = failure(raised, described, "no such function");
            return nullptr;
        }
        return std::make_shared<MetalPipeline>(std::move(pipeline));
    }

  private:
    id<MTLComputePipelineState> make(const char* name, NSString*& described) const {
        id<MTLFunction> function = [library.get() newFunctionWithName:[NSString stringWithUTF8String:name]];
        if (!function)
            return nil;
        [function autorelease];
        NSError* error = nil;
        id<MTLComputePipelineState> made = [device.get() newComputePipelineStateWithFunction:function error:&error];
        if (!made)
            described = [[error localizedDescription] retain];
        return made;
    }

    const Owned<id<MTLDevice>> device;
    const Owned<id<MTLLibrary>> library;
};

class MetalDevice final : public Device {
  public:
    explicit MetalDevice(Owned<id<MTLDevice>> of) : device(std::move(of)) {}

    void* handle() const override { return (void*)device.get(); }

    std::string name() const override {
        const Owned<NSString*> name(framework([this] { return (NSString*)[[device.get() name] retain]; }));
        return textOf(name.get());
    }

    std::shared_ptr<Library> newLibraryWithSource(const std::string& source, const CompileOptions& options,
                                                  std::string& error) override {
        NSString* raised = nil;
        NSString* described = nil;
        const char* text = source.c_str();
        Owned<id<MTLLibrary>> library(framework([&] { return compile(text, options, described); }, raised));
        if (!library) {
            error = failure(raised, described, "the compiler gave no reason");
            return nullptr;
        }
        return std::make_shared<MetalLibrary>(Owned<id<MTLDevice>>([device.get() retain]), std::move(library));
    }

    std::shared_ptr<Buffer> newBufferWithLength(std::size_t length, StorageMode mode) override {
        const bool shared = mode == StorageMode::Shared;
        const MTLResourceOptions options = shared ? MTLResourceStorageModeShared : MTLResourceStorageModePrivate;
        return wrapped(framework([&] { return [device.get() newBufferWithLength:length options:options]; }), shared);
    }

    std::shared_ptr<Buffer> newBufferWithBytes(const void* bytes, std::size_t length) override {
        return wrapped(framework([&] {
                           return [device.get() newBufferWithBytes:bytes
                                                            length:length
                                                           options:MTLResourceStorageModeShared];
                       }),
                       true);
    }

  private:
    id<MTLLibrary> compile(const char* text, const CompileOptions& options, NSString*& described) const {
        MTLCompileOptions* wanted = [[[MTLCompileOptions alloc] init] autorelease];
        setFastMath(wanted, options.fastMathEnabled);
        [wanted setLanguageVersion:MTLLanguageVersion2_3];
        NSError* error = nil;
        id<MTLLibrary> made = [device.get() newLibraryWithSource:[NSString stringWithUTF8String:text]
                                                         options:wanted
                                                           error:&error];
        if (!made)
            described = [[error localizedDescription] retain];
        return made;
    }

    // From macOS 15 on there is a mode that is as fast but honours infinities, and the older word is deprecated.
    static void setFastMath(MTLCompileOptions* wanted, bool fast) {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
        [wanted setFastMathEnabled:fast ? YES : NO];
#pragma clang diagnostic pop
        if (fast && [wanted respondsToSelector:@selector(setMathMode:)])
            [(id<MathMode>)wanted setMathMode:MATH_MODE_RELAXED];
    }

    static std::shared_ptr<Buffer> wrapped(id<MTLBuffer> made, bool shared) {
        Owned<id<MTLBuffer>> buffer(made);
        return buffer ? std::make_shared<MetalBuffer>(std::move(buffer), shared) : nullptr;
    }

    const Owned<id<MTLDevice>> device;
};

// The device of a queue or a buffer.
template <typename Object> std::shared_ptr<Device> deviceOf(Object object) {
    Owned<id<MTLDevice>> device(framework([object] { return (id<MTLDevice>)[[object device] retain]; }));
    return device ? std::make_shared<MetalDevice>(std::move(device)) : nullptr;
}

std::shared_ptr<Device> MetalBuffer::device() const { return deviceOf(buffer.get()); }

// --- Commands -------------------------------------------------------------------------------------------------------

// Completions that the framework still has to run.
class Outstanding {
  public:
    void enter() {
        const std::lock_guard lock(mu);
        ++count;
    }
    // The last thing that a completion does.
    void leave() {
        const std::lock_guard lock(mu);
        if (--count == 0)
            cv.notify_all();
    }
    void waitForNone() {
        std::unique_lock lock(mu);
        cv.wait(lock, [this] { return count == 0; });
    }

  private:
    std::mutex mu; // guards count
    std::condition_variable cv;
    int count = 0;
};

ProcessWide<Outstanding> gOutstanding;

MTLSize sizeOf(const Size& size) { return MTLSizeMake(size.width, size.height, size.depth); }

id<MTLBuffer> objectOf(const std::shared_ptr<Buffer>& buffer) {
    return static_cast<MetalBuffer&>(*buffer).buffer.get();
}

// The first reason that the framework raised while commands were recorded; such a command buffer is not committed.
using Fault = std::shared_ptr<std::string>;

// Ends itself at the latest with its life: the framework does not forgive an encoder left open.
template <typename Encoder> class OpenEncoder {
  public:
    OpenEncoder(Owned<Encoder> opened, Fault of) : encoder(std::move(opened)), fault(std::move(of)) {}
    ~OpenEncoder() { end(); }
    OpenEncoder(const OpenEncoder&) = delete;
    OpenEncoder& operator=(const OpenEncoder&) = delete;

    // Nothing more once a call has raised: the rest would be encoded without what that call was to set.
    template <typename Call> void encode(Call call) const {
        if (fault->empty())
            record(call);
    }

    void end() {
        if (std::exchange(ended, true))
            return;
        record([](Encoder e) { [e endEncoding]; });
    }

  private:
    template <typename Call> void record(Call call) const {
        NSString* raised = nil;
        framework(
            [&] {
                call(encoder.get());
                return 0;
            },
            raised);
        if (!raised)
            return;
        const std::string reason = failure(raised, nil, "");
        if (fault->empty())
            *fault = reason;
    }

    const Owned<Encoder> encoder;
    const Fault fault;
    bool ended = false;
};

class MetalComputeEncoder final : public ComputeCommandEncoder {
  public:
    MetalComputeEncoder(Owned<id<MTLComputeCommandEncoder>> opened, Fault fault)
        : encoder(std::move(opened), std::move(fault)) {}

    void setComputePipelineState(const std::shared_ptr<ComputePipelineState>& pipeline) override {
        id<MTLComputePipelineState> state = static_cast<MetalPipeline&>(*pipeline).pipeline.get();
        encoder.encode([state](id<MTLComputeCommandEncoder> e) { [e setComputePipelineState:state]; });
    }
    void setBuffer(const std::shared_ptr<Buffer>& buffer, unsigned index) override {
        id<MTLBuffer> object = objectOf(buffer);
        encoder.encode([=](id<MTLComputeCommandEncoder> e) { [e setBuffer:object offset:0 atIndex:index]; });
    }
    void setBytes(const void* bytes, std::size_t length, unsigned index) override {
        encoder.encode([=](id<MTLComputeCommandEncoder> e) { [e setBytes:bytes length:length atIndex:index]; });
    }
    void dispatchThreadgroups(const Size& groups, const Size& threads) override {
        encoder.encode([&](id<MTLComputeCommandEncoder> e) {
            [e dispatchThreadgroups:sizeOf(groups) threadsPerThreadgroup:sizeOf(threads)];
        });
    }
    void endEncoding() override { encoder.end(); }

  private:
    OpenEncoder<id<MTLComputeCommandEncoder>> encoder;
};

class MetalBlitEncoder final : public BlitCommandEncoder {
  public:
    MetalBlitEncoder(Owned<id<MTLBlitCommandEncoder>> opened, Fault fault)
        : encoder(std::move(opened), std::move(fault)) {}

    void copyFromBuffer(const std::shared_ptr<Buffer>& source, std::size_t sourceOffset,
                        const std::shared_ptr<Buffer>& destination, std::size_t destinationOffset,
                        std::size_t size) override {
        id<MTLBuffer> from = objectOf(source);
        id<MTLBuffer> to = objectOf(destination);
        encoder.encode([=](id<MTLBlitCommandEncoder> e) {
            [e copyFromBuffer:from sourceOffset:sourceOffset toBuffer:to destinationOffset:destinationOffset size:size];
        });
    }
    void endEncoding() override { encoder.end(); }

  private:
    OpenEncoder<id<MTLBlitCommandEncoder>> encoder;
};

class MetalCommandBuffer final : public CommandBuffer {
  public:
    explicit MetalCommandBuffer(Owned<id<MTLCommandBuffer>> made, Fault text = std::make_shared<std::string>())
        : commands(std::move(made)), fault(std::move(text)) {}
    MetalCommandBuffer(const MetalCommandBuffer&) = delete;
    MetalCommandBuffer& operator=(const MetalCommandBuffer&) = delete;

    std::shared_ptr<ComputeCommandEncoder> computeCommandEncoder() override {
        Owned<id<MTLComputeCommandEncoder>> opened(framework(
            [this] { return (id<MTLComputeCommandEncoder>)[[commands.get() computeCommandEncoder] retain]; }));
        return opened ? std::make_shared<MetalComputeEncoder>(std::move(opened), fault) : nullptr;
    }

    std::shared_ptr<BlitCommandEncoder> blitCommandEncoder() override {
        Owned<id<MTLBlitCommandEncoder>> opened(
            framework([this] { return (id<MTLBlitCommandEncoder>)[[commands.get() blitCommandEncoder] retain]; }));
        return opened ? std::make_shared<MetalBlitEncoder>(std::move(opened), fault) : nullptr;
    }

    void addCompletedHandler(CompletedHandler handler) override { handlers.push_back(std::move(handler)); }

    bool commit() override;

    void waitUntilCompleted() override {
        if (!inFramework)
            return;
        framework([this] {
            [commands.get() waitUntilCompleted];
            return 0;
        });
    }

    CommandBufferStatus status() const override {
        if (refused)
            return CommandBufferStatus::Error;
        switch (framework([this] { return [commands.get() status]; })) {
        case MTLCommandBufferStatusCompleted:
            return CommandBufferStatus::Completed;
        case MTLCommandBufferStatusError:
            return CommandBufferStatus::Error;
        case MTLCommandBufferStatusCommitted:
        case MTLCommandBufferStatusScheduled:
            return CommandBufferStatus::Committed;
        default:
            return CommandBufferStatus::NotCommitted;
        }
    }

    std::string error() const override {
        if (refused)
            return reason;
        NSString* raised = nil;
        NSString* described =
            framework([this] { return (NSString*)[[[commands.get() error] localizedDescription] retain]; }, raised);
        return failure(raised, described, "");
    }

  private:
    bool handOver();

    const Owned<id<MTLCommandBuffer>> commands;
    const Fault fault;
    std::vector<CompletedHandler> handlers;
    std::atomic<bool> inFramework = false; // committed
    std::atomic<bool> refused = false;     // by the framework; `reason` says why
    std::string reason;
};

// The handlers of a committed command buffer, on their way through the framework.
struct Completion {
    std::vector<CommandBuffer::CompletedHandler> handlers;

    // On a thread of the framework's own. Ends this object's life.
    void run(id<MTLCommandBuffer> done) {
        MetalCommandBuffer commands{Owned<id<MTLCommandBuffer>>([done retain]), nullptr}; // without memory of its own
        for (const auto& handler : handlers)
            handler(commands);
        delete this;
    }
};

bool MetalCommandBuffer::commit() {
    reason = *fault;
    if (reason.empty() && handOver())
        return true;
    refused = true;
    handlers.clear();
    return false;
}

// Gives the commands to the framework, with one block that runs all handlers. False, with the reason, when the
// framework raises. Whatever needs memory comes before the framework has anything.
bool MetalCommandBuffer::handOver() {
    auto* completion = new Completion{std::move(handlers)};
    gOutstanding->enter();
    NSString* raised = nil;
    // Before the commit: the handlers may run, and others wait, while it returns.
    inFramework = true;
    const bool committed = framework(
        [this, completion] {
            Completion* pointer = completion;
            [commands.get() addCompletedHandler:^(id<MTLCommandBuffer> done) {
              @autoreleasepool {
                  pointer->run(done);
              }
              gOutstanding->leave();
            }];
            [commands.get() commit];
            return true;
        },
        raised);
    if (committed)
        return true;
    inFramework = false;
    delete completion;
    gOutstanding->leave();
    reason = failure(raised, nil, "");
    return false;
}

class MetalQueue final : public CommandQueue {
  public:
    explicit MetalQueue(Owned<id<MTLCommandQueue>> of) : queue(std::move(of)) {}

    std::shared_ptr<Device> device() const override { return deviceOf(queue.get()); }

    std::shared_ptr<CommandBuffer> commandBuffer() override {
        Owned<id<MTLCommandBuffer>> made(
            framework([this] { return (id<MTLCommandBuffer>)[[queue.get() commandBuffer] retain]; }));
        return made ? std::make_shared<MetalCommandBuffer>(std::move(made)) : nullptr;
    }

  private:
    const Owned<id<MTLCommandQueue>> queue;
};

class MetalRuntime final : public Runtime {
  public:
    const char* name() const override { return "Metal"; }

    std::shared_ptr<CommandQueue> wrapQueue(void* handle) override {
        Owned<id<MTLCommandQueue>> queue([(id<MTLCommandQueue>)handle retain]);
        return queue ? std::make_shared<MetalQueue>(std::move(queue)) : nullptr;
    }

    std::shared_ptr<Buffer> wrapBuffer(void* handle) override {
        Owned<id<MTLBuffer>> buffer([(id<MTLBuffer>)handle retain]);
        return buffer ? std::make_shared<MetalBuffer>(std::move(buffer), false) : nullptr;
    }

    void joinThreads() override { gOutstanding->waitForNone(); }
};

ProcessWide<MetalRuntime> gRuntime;

} // namespace

Runtime& metalFramework() { return *gRuntime; }

} // namespace velloid::gpu
