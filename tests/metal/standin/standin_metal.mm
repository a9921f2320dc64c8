#include "tests/metal/standin/standin_metal.h"

#include <Block.h>
#import <Metal/Metal.h>

#include <atomic>
#include <map>

namespace velloid::gpu {

struct StandInMetal::State {
    ReferenceRuntime reference;
    void* device = nullptr;         // of the reference device
    id<MTLDevice> object = nil;     // the same, as Metal has it
    std::map<void*, void*> handles; // Objective-C object to the reference device's handle
    std::atomic<bool> raises = false;
    std::atomic<bool> raisesOnCommit = false;
    std::atomic<bool> raisesWhileEncoding = false;
    std::atomic<bool> fastMath = false;
    std::atomic<int> languageVersion = 0;
};

} // namespace velloid::gpu

using namespace velloid::gpu;
using State = StandInMetal::State;

namespace {

std::atomic<int> gObjects = 0;

// nil, or an exception in its place.
id refuse(State* state, const char* what) {
    if (state->raises)
        [NSException raise:@"StandInException" format:@"raised: %s", what];
    return nil;
}

NSError* errorOf(const std::string& text) {
    NSDictionary* info = [NSDictionary dictionaryWithObject:[NSString stringWithUTF8String:text.c_str()]
                                                     forKey:NSLocalizedDescriptionKey];
    return [NSError errorWithDomain:@"StandIn" code:1 userInfo:info];
}

} // namespace

// What every object has: the framework's state, and a C++ object in place of a GPU's.
@interface StandInObject : NSObject {
  @public
    State* state;
}
- (id)initWith:(State*)given;
@end

@implementation StandInObject
- (id)initWith:(State*)given {
    self = [super init];
    state = given;
    ++gObjects;
    return self;
}
- (void)dealloc {
    --gObjects;
    [super dealloc];
}
@end

// One class in front of one kind of reference object, which it holds until it is deallocated.
#define STAND_IN(Name, Protocol, Real)                                                                                 \
    @interface Name : StandInObject <Protocol> {                                                                       \
      @public                                                                                                          \
        std::shared_ptr<Real>* real;                                                                                   \
    }                                                                                                                  \
    -(id)initWith : (State*)given real : (const std::shared_ptr<Real>&)object;                                         \
    @end

#define STAND_IN_LIFE(Real)                                                                                            \
    -(id)initWith : (State*)given real : (const std::shared_ptr<Real>&)object {                                        \
        self = [super initWith:given];                                                                                 \
        real = new std::shared_ptr<Real>(object);                                                                      \
        return self;                                                                                                   \
    }                                                                                                                  \
    -(void)dealloc {                                                                                                   \
        delete real;                                                                                                   \
        [super dealloc];                                                                                               \
    }

STAND_IN(StandInDevice, MTLDevice, Device)
STAND_IN(StandInBuffer, MTLBuffer, Buffer)
STAND_IN(StandInLibrary, MTLLibrary, Library)
STAND_IN(StandInPipeline, MTLComputePipelineState, ComputePipelineState)
STAND_IN(StandInQueue, MTLCommandQueue, CommandQueue)
STAND_IN(StandInCommands, MTLCommandBuffer, CommandBuffer)
STAND_IN(StandInCompute, MTLComputeCommandEncoder, ComputeCommandEncoder)
STAND_IN(StandInBlit, MTLBlitCommandEncoder, BlitCommandEncoder)

@interface StandInFunction : StandInObject <MTLFunction> {
  @public
    StandInLibrary* library;
    NSString* name;
}
@end

// Whether compile options answer to setMathMode:, and what they were last told.
static std::atomic<bool> offersMathMode = false;
static std::atomic<int> mathMode = -1;

@implementation MTLCompileOptions
- (BOOL)respondsToSelector:(SEL)selector {
    if (sel_isEqual(selector, @selector(setMathMode:)))
        return offersMathMode;
    return [super respondsToSelector:selector];
}
- (void)setMathMode:(NSInteger)mode {
    mathMode = static_cast<int>(mode);
}
- (void)setFastMathEnabled:(BOOL)enabled {
    fastMath = enabled;
}
- (BOOL)fastMathEnabled {
    return fastMath;
}
- (void)setLanguageVersion:(MTLLanguageVersion)wanted {
    version = wanted;
}
- (MTLLanguageVersion)languageVersion {
    return version;
}
@end

@implementation StandInFunction
- (void)dealloc {
    [library release];
    [name release];
    [super dealloc];
}
@end

@implementation StandInPipeline
STAND_IN_LIFE(ComputePipelineState)
@end

@implementation StandInLibrary
STAND_IN_LIFE(Library)
- (NSArray*)functionNames {
    NSMutableArray* names = [NSMutableArray array];
    for (const std::string& name : (*real)->functionNames()) {
        [names addObject:[NSString stringWithUTF8String:name.c_str()]];
    }
    return names;
}
- (id<MTLFunction>)newFunctionWithName:(NSString*)functionName {
    if (![[self functionNames] containsObject:functionName])
        return refuse(state, "function");
    StandInFunction* function = [[StandInFunction alloc] initWith:state];
    function->library = [self retain];
    function->name = [functionName copy];
    return function;
}
@end

@implementation StandInBuffer
STAND_IN_LIFE(Buffer)
- (id<MTLDevice>)device {
    return state->object;
}
- (NSUInteger)length {
    return (*real)->length();
}
- (void*)contents {
    return (*real)->contents();
}
@end

@implementation StandInDevice
STAND_IN_LIFE(Device)
- (NSString*)name {
    return @"Stand-in";
}
- (id<MTLLibrary>)newLibraryWithSource:(NSString*)source options:(MTLCompileOptions*)options error:(NSError**)error {
    state->fastMath = [options fastMathEnabled];
    state->languageVersion = [options languageVersion];
    std::string why;
    const auto library = (*real)->newLibraryWithSource([source UTF8String], { true }, why);
    if (library)
        return [[StandInLibrary alloc] initWith:state real:library];
    *error = errorOf(why);
    return refuse(state, "library");
}
- (id<MTLComputePipelineState>)newComputePipelineStateWithFunction:(id<MTLFunction>)function error:(NSError**)error {
    StandInFunction* wanted = (StandInFunction*)function;
    std::string why;
    const auto pipeline = (*wanted->library->real)->newComputePipelineState([wanted->name UTF8String], why);
    if (pipeline)
        return [[StandInPipeline alloc] initWith:state real:pipeline];
    *error = errorOf(why);
    return refuse(state, "pipeline");
}
- (id<MTLBuffer>)newBufferWithLength:(NSUInteger)length options:(MTLResourceOptions)options {
    const auto mode = options == MTLResourceStorageModePrivate ? StorageMode::Private : StorageMode::Shared;
    const auto buffer = (*real)->newBufferWithLength(length, mode);
    return buffer ? [[StandInBuffer alloc] initWith:state real:buffer] : refuse(state, "buffer");
}
- (id<MTLBuffer>)newBufferWithBytes:(const void*)bytes length:(NSUInteger)length options:(MTLResourceOptions)options {
    const auto buffer = options == MTLResourceStorageModeShared ? (*real)->newBufferWithBytes(bytes, length) : nullptr;
    return buffer ? [[StandInBuffer alloc] initWith:state real:buffer] : refuse(state, "buffer");
}
@end

@implementation StandInCompute
STAND_IN_LIFE(ComputeCommandEncoder)
- (void)setComputePipelineState:(id<MTLComputePipelineState>)pipeline {
    (*real)->setComputePipelineState(*((StandInPipeline*)pipeline)->real);
}
- (void)setBuffer:(id<MTLBuffer>)buffer offset:(NSUInteger)offset atIndex:(NSUInteger)index {
    if (offset == 0)
        (*real)->setBuffer(*((StandInBuffer*)buffer)->real, static_cast<unsigned>(index));
}
- (void)setBytes:(const void*)bytes length:(NSUInteger)length atIndex:(NSUInteger)index {
    if (state->raisesWhileEncoding.exchange(false))
        refuse(state, "setBytes");
    (*real)->setBytes(bytes, length, static_cast<unsigned>(index));
}
- (void)dispatchThreadgroups:(MTLSize)groups threadsPerThreadgroup:(MTLSize)threads {
    const auto sized = [](MTLSize size) {
        return Size{static_cast<std::uint32_t>(size.width), static_cast<std::uint32_t>(size.height),
                    static_cast<std::uint32_t>(size.depth)};
    };
    (*real)->dispatchThreadgroups(sized(groups), sized(threads));
}
- (void)endEncoding {
    (*real)->endEncoding();
}
@end

@implementation StandInBlit
STAND_IN_LIFE(BlitCommandEncoder)
- (void)copyFromBuffer:(id<MTLBuffer>)source
          sourceOffset:(NSUInteger)sourceOffset
              toBuffer:(id<MTLBuffer>)destination
     destinationOffset:(NSUInteger)destinationOffset
                  size:(NSUInteger)size {
    (*real)->copyFromBuffer(*((StandInBuffer*)source)->real, sourceOffset, *((StandInBuffer*)destination)->real,
                            destinationOffset, size);
}
- (void)endEncoding {
    (*real)->endEncoding();
}
@end

@implementation StandInCommands
STAND_IN_LIFE(CommandBuffer)
- (id<MTLComputeCommandEncoder>)computeCommandEncoder {
    const auto encoder = (*real)->computeCommandEncoder();
    if (!encoder)
        return refuse(state, "compute encoder");
    return [[[StandInCompute alloc] initWith:state real:encoder] autorelease];
}
- (id<MTLBlitCommandEncoder>)blitCommandEncoder {
    const auto encoder = (*real)->blitCommandEncoder();
    if (!encoder)
        return refuse(state, "blit encoder");
    return [[[StandInBlit alloc] initWith:state real:encoder] autorelease];
}
- (void)addCompletedHandler:(MTLCommandBufferHandler)block {
    // By the runtime's functions: where blocks and objects come from different runtimes, a block is no object.
    const std::shared_ptr<void> kept((void*)Block_copy(block), [](void* copied) { _Block_release(copied); });
    (*real)->addCompletedHandler([self, kept](CommandBuffer&) { ((MTLCommandBufferHandler)kept.get())(self); });
}
- (void)commit {
    if (state->raisesOnCommit.exchange(false))
        refuse(state, "commit");
    // Metal keeps a committed command buffer until its handlers have run.
    [self retain];
    (*real)->addCompletedHandler([self](CommandBuffer&) { [self release]; });
    (*real)->commit();
}
- (void)waitUntilCompleted {
    (*real)->waitUntilCompleted();
}
- (MTLCommandBufferStatus)status {
    switch ((*real)->status()) {
    case CommandBufferStatus::NotCommitted:
        return MTLCommandBufferStatusNotEnqueued;
    case CommandBufferStatus::Committed:
        return MTLCommandBufferStatusScheduled;
    case CommandBufferStatus::Completed:
        return MTLCommandBufferStatusCompleted;
    default:
        return MTLCommandBufferStatusError;
    }
}
- (NSError*)error {
    const std::string why = (*real)->error();
    return why.empty() ? nil : errorOf(why);
}
@end

@implementation StandInQueue
STAND_IN_LIFE(CommandQueue)
- (id<MTLDevice>)device {
    return state->object;
}
- (id<MTLCommandBuffer>)commandBuffer {
    const auto commands = (*real)->commandBuffer();
    if (!commands)
        return refuse(state, "command buffer");
    return [[[StandInCommands alloc] initWith:state real:commands] autorelease];
}
@end

namespace velloid::gpu {

StandInMetal::StandInMetal() : state(new State) {
    state->device = state->reference.hostDevice();
    const auto queue = state->reference.wrapQueue(state->reference.hostQueue(state->device));
    state->object = [[StandInDevice alloc] initWith:state real:queue->device()];
}

StandInMetal::~StandInMetal() {
    @autoreleasepool {
        for (const auto& [object, handle] : state->handles)
            [(id)object release];
        [state->object release];
    }
    delete state;
}

void* StandInMetal::device() const { return (void*)state->object; }

void* StandInMetal::newQueue() {
    void* handle = state->reference.hostQueue(state->device);
    void* object = (void*)[[StandInQueue alloc] initWith:state real:state->reference.wrapQueue(handle)];
    state->handles[object] = handle;
    return object;
}

void* StandInMetal::newBuffer(std::size_t length) {
    void* handle = state->reference.hostBuffer(state->device, length);
    void* object = (void*)[[StandInBuffer alloc] initWith:state real:state->reference.wrapBuffer(handle)];
    state->handles[object] = handle;
    return object;
}

float* StandInMetal::floatsOf(void* buffer) const { return state->reference.hostFloats(state->handles.at(buffer)); }

int StandInMetal::retainCountOf(void* object) const { return static_cast<int>([(id)object retainCount]); }

ReferenceRuntime& StandInMetal::reference() { return state->reference; }

void StandInMetal::raiseOnFailure(bool raises) { state->raises = raises; }

void StandInMetal::raiseOnCommit() {
    state->raises = true;
    state->raisesOnCommit = true;
}

int StandInMetal::strayObjects() const { return gObjects - 1 - static_cast<int>(state->handles.size()); }

void StandInMetal::raiseWhileEncoding() {
    state->raises = true;
    state->raisesWhileEncoding = true;
}

bool StandInMetal::lastFastMath() const { return state->fastMath; }

void StandInMetal::offerMathMode(bool offers) {
    offersMathMode = offers;
    mathMode = -1;
}

int StandInMetal::lastMathMode() const { return mathMode; }

int StandInMetal::lastLanguageVersion() const { return state->languageVersion; }

} // namespace velloid::gpu
