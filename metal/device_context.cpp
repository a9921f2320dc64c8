#include "metal/device_context.h"

#include "color/looks.h"
#include "lifetime/process_wide.h"
#include "metal/kernel_source.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <limits>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <utility>

namespace velloid::gpu {

namespace {

// When a host leaves without unloading us, the GPU runtime may be gone before our statics would be.
struct GpuState {
    std::mutex mu;              // guards everything below, and every field of every context and plane set
    std::condition_variable cv; // a counter fell, a plane set came back, or shutdown began or ended
    std::map<void*, std::unique_ptr<DeviceCtx>> contexts; // by device handle
    std::uint64_t apiCalls = 0;
    std::uint64_t contextWaiters = 0;
    std::uint64_t asyncOps = 0;
    bool shuttingDown = false;
    std::vector<std::shared_ptr<CommandBuffer>> inFlight; // committed, not yet reaped
    std::set<Runtime*> runtimes;                          // used since the last shutdown
};
ProcessWide<GpuState> gState;

auto& gCtxMu = gState->mu;
auto& gCtxCv = gState->cv;
auto& gCtx = gState->contexts;
auto& gApiCalls = gState->apiCalls;
auto& gContextWaiters = gState->contextWaiters;
auto& gAsyncOps = gState->asyncOps;
auto& gShuttingDown = gState->shuttingDown;
auto& gInFlightCommandBuffers = gState->inFlight;
auto& gRuntimes = gState->runtimes;

template <typename Counter>
void decrement(Counter& counter) {
    if (counter > 0) --counter;
}

// ---- pipelines -----------------------------------------------------------------------------------------------------

bool buildPipelines(DeviceCtx& ctx) {
    std::string error;
    const CompileOptions options{true};
    const std::shared_ptr<Library> library = ctx.device->newLibraryWithSource(kernelSource(), options, error);
    if (!library) {
        std::fprintf(stderr, "[Tarnwell/Metal] Library-Compile fehlgeschlagen: %s\n", error.c_str());
        return false;
    }
    ctx.pipelines.clear();
    for (const std::string& name : library->functionNames()) {
        std::shared_ptr<ComputePipelineState> pipeline = library->newComputePipelineState(name, error);
        if (!pipeline) {
            std::fprintf(stderr, "[Tarnwell/Metal] Pipeline %s: %s\n", name.c_str(), error.c_str());
            ctx.pipelines.clear();
            return false;
        }
        ctx.pipelines[name] = std::move(pipeline);
    }
    ctx.looks.clear();
    ctx.ready = true;
    return true;
}

DeviceCtx& contextOf(const std::shared_ptr<Device>& device) {
    auto found = gCtx.find(device->handle());
    if (found == gCtx.end()) {
        auto fresh = std::make_unique<DeviceCtx>();
        fresh->device = device;
        found = gCtx.emplace(device->handle(), std::move(fresh)).first;
    }
    return *found->second;
}

// Destroys a context that nobody uses and that may not be kept.
void dropUnlessKept(const DeviceCtx& ctx) {
    if (ctx.device->outlivesFrames() || ctx.framesInFlight > 0 || ctx.waiters > 0) return;
    gCtx.erase(ctx.device->handle());
}

// ---- planes --------------------------------------------------------------------------------------------------------

std::size_t saturatingSum(std::size_t a, std::size_t b) {
    return a > std::numeric_limits<std::size_t>::max() - b ? std::numeric_limits<std::size_t>::max() : a + b;
}

std::size_t busyBytes(const DeviceCtx& ctx) {
    std::size_t sum = 0;
    for (const auto& set : ctx.planeSets) {
        if (set->busy) sum = saturatingSum(sum, set->bytes());
    }
    return sum;
}

bool canAdmit(const DeviceCtx& ctx, std::size_t need, std::size_t budget) {
    if (ctx.framesInFlight >= MAX_FRAMES_IN_FLIGHT) return false;
    return ctx.planeSets.empty() || busyBytes(ctx) <= budget - need;
}

// Waits for a frame slot and for memory. False when a shutdown began.
bool waitForAdmission(std::unique_lock<std::mutex>& lock, DeviceCtx& ctx, std::size_t need, std::size_t budget) {
    ++gContextWaiters;
    ++ctx.waiters;
    gCtxCv.wait(lock, [&] { return gShuttingDown || canAdmit(ctx, need, budget); });
    --ctx.waiters;
    decrement(gContextWaiters);
    gCtxCv.notify_all();
    return !gShuttingDown;
}

// A free set of this size, else any free set, else a new one; null when there are three already.
PlaneSet* choosePlanes(DeviceCtx& ctx, std::size_t planeBytes) {
    PlaneSet* free = nullptr;
    for (const auto& set : ctx.planeSets) {
        if (set->busy) continue;
        if (set->holds(planeBytes)) return set.get();
        if (!free) free = set.get();
    }
    if (free) return free;
    if (ctx.planeSets.size() >= MAX_PLANE_SETS) return nullptr;
    ctx.planeSets.push_back(std::make_unique<PlaneSet>());
    return ctx.planeSets.back().get();
}

PlaneSet* largestFreeSet(const DeviceCtx& ctx, const PlaneSet* chosen) {
    PlaneSet* largest = nullptr;
    for (const auto& set : ctx.planeSets) {
        if (set.get() == chosen || set->busy) continue;
        if (!largest || set->bytes() > largest->bytes()) largest = set.get();
    }
    return largest;
}

// Releases free sets, largest first, until the chosen one fits. False when that does not suffice.
bool makeRoom(const DeviceCtx& ctx, const PlaneSet* chosen, std::size_t need, std::size_t budget) {
    for (;;) {
        std::size_t total = need;
        for (const auto& set : ctx.planeSets) {
            if (set.get() != chosen) total = saturatingSum(total, set->bytes());
        }
        if (total <= budget) return true;
        PlaneSet* victim = largestFreeSet(ctx, chosen);
        if (!victim || victim->bytes() == 0) return false;
        victim->release();
    }
}

bool allocatePlanes(Device& device, PlaneSet& set, std::size_t planeBytes) {
    set.release();
    for (std::size_t i = 0; i < PLANES_PER_SET; ++i) {
        std::shared_ptr<Buffer> plane = device.newBufferWithLength(planeBytes, StorageMode::Private);
        if (!plane) {
            set.release();
            return false;
        }
        set.buffers.push_back(std::move(plane));
    }
    set.planeBytes = planeBytes;
    return true;
}

PlaneSet* lendPlanes(DeviceCtx& ctx, std::size_t planeBytes, std::size_t need, std::size_t budget) {
    PlaneSet* set = choosePlanes(ctx, planeBytes);
    if (!set || !makeRoom(ctx, set, need, budget)) return nullptr;
    if (!set->holds(planeBytes) && !allocatePlanes(*ctx.device, *set, planeBytes)) return nullptr;
    set->busy = true;
    ++ctx.framesInFlight;
    return set;
}

// Waits for admission and lends planes; null when a shutdown began or memory can't be had.
PlaneSet* admittedPlanes(std::unique_lock<std::mutex>& lock, DeviceCtx& ctx, std::size_t planeBytes) {
    if (planeBytes == 0 || planeBytes > std::numeric_limits<std::size_t>::max() / PLANES_PER_SET) return nullptr;
    const std::size_t need = planeBytes * PLANES_PER_SET;
    const std::size_t budget = std::max(need, PLANE_BUDGET);
    if (!waitForAdmission(lock, ctx, need, budget)) return nullptr;
    return lendPlanes(ctx, planeBytes, need, budget);
}

// ---- tables --------------------------------------------------------------------------------------------------------

int blurRadius(double sigma) {
    if (!std::isfinite(sigma)) throw std::length_error("nicht-endliches Gaussian-Sigma");
    if (sigma <= 1e-9) return 0;
    const double radius = std::max(std::ceil(3.0 * sigma), 1.0);
    if (!(radius <= MAX_BLUR_RADIUS)) throw std::length_error("Gaussian-Radius überschreitet Sicherheitslimit");
    return static_cast<int>(radius);
}

// The least radius of the sigmas that round to this many millionths. Half a millionth below the middle, in whole
// numbers: 3 * 2.666667 reaches past 8, but 3 * (8 / 3) does not.
int leastRadius(std::int64_t millionths) {
    constexpr std::int64_t ONE = 2 * 1000000;
    return static_cast<int>((6 * millionths - 3 + ONE - 1) / ONE);
}

std::vector<float> gaussianWeights(double sigma, int radius) {
    std::vector<float> weights;
    double sum = 0.0;
    for (int k = -radius; k <= radius; ++k) {
        const double weight = k == 0 ? 1.0 : std::exp(-(double(k) * k) / (2.0 * sigma * sigma));
        weights.push_back(static_cast<float>(weight));
        sum += weight;
    }
    for (float& weight : weights)
        weight = static_cast<float>(weight / sum);
    return weights;
}

template <typename Cache>
void evictOldest(Cache& cache, std::size_t capacity) {
    while (cache.size() > capacity) {
        cache.erase(std::min_element(cache.begin(), cache.end(),
                                     [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; }));
    }
}

// A table whose size and data agree and that the kernels can index.
bool isUsableTable(const LUT3D& lut) {
    if (lut.size < 2 || lut.size > 4096) return false;
    const auto n = static_cast<std::size_t>(lut.size);
    return lut.data.size() == n * n * n;
}

std::shared_ptr<Buffer> uploadTable(Device& device, const LUT3D& lut, std::size_t byteLength) {
    return device.newBufferWithBytes(lut.data.data(), byteLength);
}

bool uploadLook(DeviceCtx& ctx, int look) {
    const LUT3D& table = printLut(static_cast<PrintProcess>(look));
    if (!isUsableTable(table)) return false;
    LookGPU uploaded{uploadTable(*ctx.device, table, table.data.size() * sizeof(RGB)), table.size, table.logDomain,
                     table.domainMin, table.domainMax};
    if (!uploaded.buffer) return false;
    ctx.looks.emplace(look, std::move(uploaded));
    return true;
}

bool isFinished(const CommandBuffer& commands) {
    const CommandBufferStatus status = commands.status();
    return status == CommandBufferStatus::Completed || status == CommandBufferStatus::Error;
}

bool anyFrameInFlight() {
    return std::any_of(gCtx.begin(), gCtx.end(), [](const auto& entry) { return entry.second->framesInFlight > 0; });
}

} // namespace

void PlaneSet::release() {
    buffers.clear();
    planeBytes = 0;
}

MetalApiGuard::MetalApiGuard(Runtime* runtime) {
    std::lock_guard lock(gCtxMu);
    if (gShuttingDown) return;
    if (runtime) gRuntimes.insert(runtime);
    ++gApiCalls;
    active_ = true;
}

MetalApiGuard::~MetalApiGuard() {
    if (!active_) return;
    {
        std::lock_guard lock(gCtxMu);
        decrement(gApiCalls);
    }
    gCtxCv.notify_all();
}

DeviceCtx* contextAndPlanes(const std::shared_ptr<Device>& device, std::size_t planeBytes, PlaneSet*& planes) {
    std::unique_lock lock(gCtxMu);
    if (gShuttingDown) return nullptr;
    DeviceCtx& ctx = contextOf(device);
    try {
        planes = ctx.ready || buildPipelines(ctx) ? admittedPlanes(lock, ctx, planeBytes) : nullptr;
    } catch (...) {
        dropUnlessKept(ctx);
        throw;
    }
    if (planes) return &ctx;
    dropUnlessKept(ctx);
    lock.unlock();
    gCtxCv.notify_all(); // memory was released: another waiter may fit now
    return nullptr;
}

void releasePlanes(DeviceCtx* ctx, PlaneSet* planes, bool asyncOp) {
    {
        std::lock_guard lock(gCtxMu);
        if (planes) planes->busy = false;
        if (ctx) {
            decrement(ctx->framesInFlight);
            dropUnlessKept(*ctx);
        }
        if (asyncOp) decrement(gAsyncOps);
    }
    gCtxCv.notify_all();
}

void finishAsyncOp() {
    releasePlanes(nullptr, nullptr, true);
}

WeightEntry weightBuffer(DeviceCtx& ctx, double sigma) {
    const int radius = blurRadius(sigma); // also refuses a sigma that is not finite
    const std::int64_t millionths = std::llround(std::max(sigma, 0.0) * 1e6);
    const auto ofRadius = [&](CachedWeights& cached) -> WeightEntry& {
        return radius == leastRadius(millionths) ? cached.least : cached.oneMore;
    };
    std::lock_guard lock(gCtxMu);
    if (const auto hit = ctx.weights.find(millionths); hit != ctx.weights.end() && ofRadius(hit->second).buffer) {
        hit->second.lastUse = ++ctx.weightClock;
        return ofRadius(hit->second);
    }
    const std::vector<float> weights = gaussianWeights(static_cast<double>(millionths) / 1e6, radius);
    const WeightEntry entry{ctx.device->newBufferWithBytes(weights.data(), weights.size() * sizeof(float)), radius};
    if (!entry.buffer) return entry;
    CachedWeights& cached = ctx.weights[millionths];
    ofRadius(cached) = entry;
    cached.lastUse = ++ctx.weightClock;
    evictOldest(ctx.weights, MAX_WEIGHTS);
    return entry;
}

bool printLookBuffer(DeviceCtx& ctx, int look, LookGPU& out, KeepAlive& keepAlive) {
    if (look < 0 || look >= PRINT_PROCESS_COUNT || static_cast<PrintProcess>(look) == PrintProcess::Off) return false;
    std::lock_guard lock(gCtxMu);
    if (!ctx.looks.count(look) && !uploadLook(ctx, look)) return false;
    out = ctx.looks.at(look);
    keepAlive.push_back(out.buffer);
    return out.buffer != nullptr;
}

std::shared_ptr<Buffer> outputLutBuffer(DeviceCtx& ctx, const LUT3D& lut, std::size_t byteLength,
                                        KeepAlive& keepAlive) {
    if (lut.id == 0) {
        std::shared_ptr<Buffer> buffer = uploadTable(*ctx.device, lut, byteLength);
        if (buffer) keepAlive.push_back(buffer);
        return buffer;
    }
    std::lock_guard lock(gCtxMu);
    const auto hit = ctx.outputLuts.find(lut.id);
    if (hit != ctx.outputLuts.end() && hit->second.size == lut.size && hit->second.byteLength == byteLength) {
        hit->second.lastUse = ++ctx.outputLutClock;
        keepAlive.push_back(hit->second.buffer);
        return hit->second.buffer;
    }
    std::shared_ptr<Buffer> buffer = uploadTable(*ctx.device, lut, byteLength);
    if (!buffer) return nullptr;
    ctx.outputLuts[lut.id] = {buffer, lut.size, byteLength, ++ctx.outputLutClock};
    evictOldest(ctx.outputLuts, MAX_OUTPUT_LUTS);
    keepAlive.push_back(buffer);
    return buffer;
}

KernelDomain setDomain(const RGB& min, const RGB& max) {
    KernelDomain domain{};
    const float low[3] = {min.r, min.g, min.b};
    const float high[3] = {max.r, max.g, max.b};
    for (int axis = 0; axis < 3; ++axis) {
        const bool rising = std::isfinite(low[axis]) && std::isfinite(high[axis]) && high[axis] > low[axis];
        domain.min[axis] = rising ? low[axis] : 0.0f;
        domain.inv[axis] = rising ? 1.0f / (high[axis] - low[axis]) : 1.0f;
    }
    return domain;
}

bool registerAsyncCommandBuffer(const std::shared_ptr<CommandBuffer>& commands, bool refuseDuringShutdown) {
    std::lock_guard lock(gCtxMu);
    if (refuseDuringShutdown && gShuttingDown) return false;
    try {
        gInFlightCommandBuffers.push_back(commands);
    } catch (...) {
        return false;
    }
    ++gAsyncOps;
    return true;
}

void withdrawCommandBuffer(const std::shared_ptr<CommandBuffer>& commands) {
    {
        std::lock_guard lock(gCtxMu);
        std::erase(gInFlightCommandBuffers, commands);
    }
    finishAsyncOp();
}

void reapFinishedCommandBuffers() {
    std::vector<std::shared_ptr<CommandBuffer>> finished;
    {
        std::lock_guard lock(gCtxMu);
        for (const auto& commands : gInFlightCommandBuffers) {
            if (isFinished(*commands)) finished.push_back(commands);
        }
    }
    // Their completion work is over before they are dropped.
    for (const auto& commands : finished)
        commands->waitUntilCompleted();
    std::lock_guard lock(gCtxMu);
    std::erase_if(gInFlightCommandBuffers, [&](const auto& commands) {
        return std::find(finished.begin(), finished.end(), commands) != finished.end();
    });
}

void purgeCaches() {
    const MetalApiGuard admitted;
    if (!admitted) return;
    reapFinishedCommandBuffers();
    std::lock_guard lock(gCtxMu);
    for (auto& [handle, ctx] : gCtx) {
        ctx->outputLuts.clear();
        ctx->weights.clear();
        for (auto& set : ctx->planeSets) {
            if (!set->busy) set->release();
        }
    }
}

void shutdown() {
    std::unique_lock lock(gCtxMu);
    if (gShuttingDown) return gCtxCv.wait(lock, [] { return !gShuttingDown; });
    gShuttingDown = true;
    gCtxCv.notify_all();
    gCtxCv.wait(lock, [] { return gApiCalls == 0 && gContextWaiters == 0; });
    std::vector<std::shared_ptr<CommandBuffer>> inFlight;
    inFlight.swap(gInFlightCommandBuffers);
    lock.unlock();
    for (const auto& commands : inFlight)
        commands->waitUntilCompleted();
    lock.lock();
    gCtxCv.wait(lock, [] { return gAsyncOps == 0 && !anyFrameInFlight(); });
    // The handlers have counted themselves out, but their threads may still be on the way out of them, dropping what
    // they held; the host unloads this library next.
    const std::set<Runtime*> runtimes = std::exchange(gRuntimes, {});
    lock.unlock();
    for (Runtime* runtime : runtimes) {
        runtime->joinThreads();
        runtime->forgetAll();
    }
    lock.lock();
    gCtx.clear();
    gShuttingDown = false;
    lock.unlock();
    gCtxCv.notify_all();
}

Counters counters() {
    std::lock_guard lock(gCtxMu);
    Counters c{gApiCalls, gContextWaiters, gAsyncOps, gInFlightCommandBuffers.size(), gCtx.size(), 0, 0, 0, 0, 0, 0};
    for (const auto& [handle, ctx] : gCtx) {
        c.framesInFlight += ctx->framesInFlight;
        c.planeSets += ctx->planeSets.size();
        for (const auto& set : ctx->planeSets)
            c.planeBytes += set->bytes();
        c.weights += ctx->weights.size();
        c.looks += ctx->looks.size();
        c.outputLuts += ctx->outputLuts.size();
    }
    return c;
}

} // namespace velloid::gpu
