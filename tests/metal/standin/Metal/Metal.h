// The part of the Metal framework that Tarnwell calls, declared by selector and type as the framework documents them, so
// that metal_device.mm can be compiled and run where there is no Metal. standin_metal.mm has objects that answer.
#pragma once

#import <Foundation/Foundation.h>

typedef NSUInteger MTLResourceOptions;
static const MTLResourceOptions MTLResourceStorageModeShared = 0;
static const MTLResourceOptions MTLResourceStorageModePrivate = 2 << 4;

typedef enum {
    MTLCommandBufferStatusNotEnqueued = 0,
    MTLCommandBufferStatusEnqueued = 1,
    MTLCommandBufferStatusCommitted = 2,
    MTLCommandBufferStatusScheduled = 3,
    MTLCommandBufferStatusCompleted = 4,
    MTLCommandBufferStatusError = 5
} MTLCommandBufferStatus;

typedef enum { MTLLanguageVersion2_3 = (2 << 16) + 3 } MTLLanguageVersion;

typedef struct {
    NSUInteger width, height, depth;
} MTLSize;

static inline MTLSize MTLSizeMake(NSUInteger width, NSUInteger height, NSUInteger depth) {
    MTLSize size = {width, height, depth};
    return size;
}

@protocol MTLDevice;
@protocol MTLCommandBuffer;

@interface MTLCompileOptions : NSObject {
    BOOL fastMath;
    MTLLanguageVersion version;
}
- (void)setFastMathEnabled:(BOOL)enabled __attribute__((deprecated)); // as with a deployment target of macOS 15
- (BOOL)fastMathEnabled;
- (void)setLanguageVersion:(MTLLanguageVersion)wanted;
- (MTLLanguageVersion)languageVersion;
@end

@protocol MTLBuffer <NSObject>
- (id<MTLDevice>)device;
- (NSUInteger)length;
- (void*)contents;
@end

@protocol MTLFunction <NSObject>
@end

@protocol MTLComputePipelineState <NSObject>
@end

@protocol MTLLibrary <NSObject>
- (NSArray*)functionNames;
- (id<MTLFunction>)newFunctionWithName:(NSString*)functionName;
@end

@protocol MTLDevice <NSObject>
- (NSString*)name;
- (id<MTLLibrary>)newLibraryWithSource:(NSString*)source options:(MTLCompileOptions*)options error:(NSError**)error;
- (id<MTLComputePipelineState>)newComputePipelineStateWithFunction:(id<MTLFunction>)function error:(NSError**)error;
- (id<MTLBuffer>)newBufferWithLength:(NSUInteger)length options:(MTLResourceOptions)options;
- (id<MTLBuffer>)newBufferWithBytes:(const void*)bytes length:(NSUInteger)length options:(MTLResourceOptions)options;
@end

@protocol MTLComputeCommandEncoder <NSObject>
- (void)setComputePipelineState:(id<MTLComputePipelineState>)state;
- (void)setBuffer:(id<MTLBuffer>)buffer offset:(NSUInteger)offset atIndex:(NSUInteger)index;
- (void)setBytes:(const void*)bytes length:(NSUInteger)length atIndex:(NSUInteger)index;
- (void)dispatchThreadgroups:(MTLSize)threadgroups threadsPerThreadgroup:(MTLSize)threads;
- (void)endEncoding;
@end

@protocol MTLBlitCommandEncoder <NSObject>
- (void)copyFromBuffer:(id<MTLBuffer>)source
          sourceOffset:(NSUInteger)sourceOffset
              toBuffer:(id<MTLBuffer>)destination
     destinationOffset:(NSUInteger)destinationOffset
                  size:(NSUInteger)size;
- (void)endEncoding;
@end

typedef void (^MTLCommandBufferHandler)(id<MTLCommandBuffer>);

@protocol MTLCommandBuffer <NSObject>
- (id<MTLComputeCommandEncoder>)computeCommandEncoder;
- (id<MTLBlitCommandEncoder>)blitCommandEncoder;
- (void)addCompletedHandler:(MTLCommandBufferHandler)block;
- (void)commit;
- (void)waitUntilCompleted;
- (MTLCommandBufferStatus)status;
- (NSError*)error;
@end

@protocol MTLCommandQueue <NSObject>
- (id<MTLDevice>)device;
- (id<MTLCommandBuffer>)commandBuffer;
@end
