// What the GPU renderer keeps per device between frames: compiled pipelines, small tables, and up to three sets of
// full-frame working planes. Host threads render, purge and shut down at the same time, so one mutex guards all of it
// and a handful of counters say who is still inside.
//
//   gApiCalls        public calls that are running                shutdown waits for 0
//   gContextWaiters  threads waiting for memory or a frame slot   shutdown wakes them and waits for 0
//   framesInFlight   plane sets lent, per device                  at most 3; shutdown waits for 0
//   gAsyncOps        completion handlers that have not run yet    shutdown waits for 0
//
// Completion handlers run on the device's own thread and touch only these counters and the plane set's busy mark.
#pragma once

#include "color/lut3d.h"
#include "metal/compute_device.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velloid::gpu {

constexpr std::size_t PLANES_PER_SET = 7;
constexpr std::size_t MAX_PLANE_SETS = 3;
constexpr std::size_t MAX_FRAMES_IN_FLIGHT = 3;
constexpr std::size_t PLANE_BUDGET = 805306368; // bytes (768 MiB); a frame that needs more alone gets what it needs
constexpr std::size_t MAX_WEIGHTS = 64;
constexpr std::size_t MAX_OUTPUT_LUTS = 8;
constexpr double MAX_BLUR_RADIUS = 8192; // pixels

// Every object that must outlive a frame's command buffer.
using KeepAlive = std::vector<std::shared_ptr<void>>;

// Seven full-frame planes of floats in private storage.
struct PlaneSet {
    std::vector<std::shared_ptr<Buffer>> buffers; // empty when released
    std::size_t planeBytes = 0;                   // of each buffer
    bool busy = false;                            // lent to a frame

    std::size_t bytes() const { return planeBytes * buffers.size(); }
    bool holds(std::size_t wanted) const { return planeBytes == wanted && buffers.size() == PLANES_PER_SET; }
    void release();
};

// Normalised Gaussian weights, 2 * radius + 1 floats.
struct WeightEntry {
    std::shared_ptr<Buffer> buffer; // null: no memory
    int radius = 0;
};

// What the cache holds for all sigmas equal to a millionth: they share their taps, whichever of them came first, so
// that no frame depends on the frames before it. On either side of a whole 3 sigma (6, and 1.0 * 4.8 / 0.8) one of them
// reaches a tap further than the other, on the CPU as here, and beside a lamp that tap is several thousandths of a
// code: the entry has the taps to either radius, made when first asked for.
struct CachedWeights {
    WeightEntry least;
    WeightEntry oneMore;
    std::uint64_t lastUse = 0;
};

// A print look as uploaded.
struct LookGPU {
    std::shared_ptr<Buffer> buffer;
    int size = 0;
    bool logDomain = false;
    RGB domainMin{};
    RGB domainMax{};
};

struct OutputLutEntry {
    std::shared_ptr<Buffer> buffer;
    int size = 0;
    std::size_t byteLength = 0;
    std::uint64_t lastUse = 0;
};

// Everything kept for one device; created on first use, destroyed by shutdown. That of a device that does not outlive
// frames goes with its last frame in flight.
struct DeviceCtx {
    std::shared_ptr<Device> device;
    bool ready = false; // library compiled, all pipelines built; they do not change from then on
    std::map<std::string, std::shared_ptr<ComputePipelineState>> pipelines;
    std::map<int, LookGPU> looks;
    std::map<std::int64_t, CachedWeights> weights; // by sigma in millionths of a pixel
    std::map<std::uint64_t, OutputLutEntry> outputLuts;
    std::uint64_t outputLutClock = 0;
    std::uint64_t weightClock = 0;
    std::vector<std::unique_ptr<PlaneSet>> planeSets;
    std::size_t framesInFlight = 0;
    std::size_t waiters = 0; // threads that wait for a frame slot or for memory
};

// Admission of one public call: false during shutdown. Counted until destruction. The call's runtime is remembered
// until shutdown, which lets its threads leave before it returns; the runtime has to live as long.
class MetalApiGuard {
public:
    explicit MetalApiGuard(Runtime* runtime = nullptr);
    ~MetalApiGuard();
    MetalApiGuard(const MetalApiGuard&) = delete;
    MetalApiGuard& operator=(const MetalApiGuard&) = delete;

    explicit operator bool() const { return active_; }

private:
    bool active_ = false;
};

// The device's context and a busy plane set of seven buffers of planeBytes each, or null: during shutdown, when the
// kernels do not compile (logged), when memory can't be had. Waits while three frames are in flight or the budget is
// used up by frames. Give the set back with releasePlanes.
DeviceCtx* contextAndPlanes(const std::shared_ptr<Device>& device, std::size_t planeBytes, PlaneSet*& planes);

// Ends a frame's loan; asyncOp when a completion handler says so. Either pointer may be null.
void releasePlanes(DeviceCtx* ctx, PlaneSet* planes, bool asyncOp);

// Weights of a Gaussian of `sigma` pixels to the nearest millionth, with the radius of `sigma` itself. Throws
// std::length_error for a sigma that is not finite or needs a radius above 8192.
WeightEntry weightBuffer(DeviceCtx& ctx, double sigma);

// The uploaded table of a print look (PrintProcess 0 to 14), added to keepAlive. False when there is none or no memory.
bool printLookBuffer(DeviceCtx& ctx, int look, LookGPU& out, KeepAlive& keepAlive);

// The uploaded output table, byteLength bytes, added to keepAlive; null when there is no memory.
std::shared_ptr<Buffer> outputLutBuffer(DeviceCtx& ctx, const LUT3D& lut, std::size_t byteLength, KeepAlive& keepAlive);

// Domain of a table as the kernels take it: minimum and reciprocal width per axis; 0 and 1 for an axis without a
// finite, rising range.
struct KernelDomain {
    float min[3];
    float inv[3];
};
KernelDomain setDomain(const RGB& min, const RGB& max);

// Enters a command buffer among those in flight. False (and not entered) during shutdown when refuseDuringShutdown, or
// without memory.
bool registerAsyncCommandBuffer(const std::shared_ptr<CommandBuffer>& commands, bool refuseDuringShutdown);

// Takes a registered command buffer that was not committed out again, with its asynchronous operation.
void withdrawCommandBuffer(const std::shared_ptr<CommandBuffer>& commands);

// Counts one completion handler as done. For work without a plane set.
void finishAsyncOp();

// Forgets the command buffers that have finished.
void reapFinishedCommandBuffers();

// What metalPurgeCaches and metalShutdown do.
void purgeCaches();
void shutdown();

// A look at the counters, for tests.
struct Counters {
    std::uint64_t apiCalls = 0;
    std::uint64_t contextWaiters = 0;
    std::uint64_t asyncOps = 0;
    std::size_t commandBuffers = 0;
    std::size_t contexts = 0;
    std::size_t framesInFlight = 0;
    std::size_t planeSets = 0;
    std::size_t planeBytes = 0;
    std::size_t weights = 0;
    std::size_t looks = 0;
    std::size_t outputLuts = 0;
};
Counters counters();

} // namespace velloid::gpu
