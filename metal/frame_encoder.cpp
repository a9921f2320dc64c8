// The pass sequence, in the order of the CPU chain:
//   decode (with flicker), detail, bloom, halation, grain, print look, gate weave, black and white, scene fit, encode
//   (with output LUT).
// Seven planes: P0 P1 P2 the working image, T1 T2 T3 temporaries, T4 the blurs' scratch. After the weave the image
// lives in T1 T2 T3. All passes go into one compute encoder; each sees what the one before it wrote.
#include "metal/frame_encoder.h"

#include "color/colorspace.h"
#include "color/looks.h"
#include "color/matrix_tables.h"
#include "metal/device_context.h"
#include "process/bloom_profile.h"
#include "process/detail_profiles.h"
#include "process/flicker.h"
#include "process/frame_number.h"
#include "process/gate_weave.h"
#include "process/grain_profiles.h"
#include "process/grain_tables.h"
#include "process/halation_profiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace velloid::gpu {

namespace {

using BufferRef = std::shared_ptr<Buffer>;
using Planes3 = std::array<BufferRef, 3>;

constexpr unsigned CONSTANTS_INDEX = 9;
constexpr std::uint32_t GROUP = 16; // threads per threadgroup and axis
constexpr double PYRAMID_SIGMA = 8.0;
constexpr int PYRAMID_SIZE = 32;

bool isOn(double amount) {
    return std::isfinite(amount) && amount > 0.0;
}

// A mix within [0, 1]; 0 when it is not finite.
double mixOf(double value) {
    return std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0.0;
}

// A scale that counts as 1 unless it is finite and above 0.
double scaleOf(double value) {
    return std::isfinite(value) && value > 0.0 ? value : 1.0;
}

double effectScaleOf(double value) {
    return std::min(scaleOf(value), 64.0);
}

// ---- encoder -------------------------------------------------------------------------------------------------------

// A constant argument of a kernel, passed by value.
struct Bytes {
    const void* data;
    std::size_t length;
    unsigned index;
};

template <typename Value>
Bytes bytesOf(const Value& value, unsigned index) {
    return {&value, sizeof(Value), index};
}

// The compute encoder of one frame, and everything that has to live as long as its commands.
class Enc {
public:
    Enc(DeviceCtx& context, CommandBuffer& commands, BufferRef constants, KeepAlive keepAlive, int width, int height)
        : ctx(context), keepAlive_(std::move(keepAlive)), commands_(commands), constants_(std::move(constants)),
          width_(width), height_(height) {}

    ~Enc() { end(); }
    Enc(const Enc&) = delete;
    Enc& operator=(const Enc&) = delete;

    bool begin() { return (encoder_ = commands_.computeCommandEncoder()) != nullptr; }

    void end() {
        if (encoder_) encoder_->endEncoding();
        encoder_.reset();
    }

    // A kernel over the whole frame, with the frame's constants.
    void run(const char* name, std::initializer_list<BufferRef> buffers, std::initializer_list<Bytes> values = {}) {
        bind(name, "fehlende Metal-Pipeline", buffers, values);
        encoder_->setBuffer(constants_, CONSTANTS_INDEX);
        dispatch(width_, height_);
    }

    // A kernel over w x h samples that brings its own sizes.
    void runD(const char* name, std::initializer_list<BufferRef> buffers, int w, int h,
              std::initializer_list<Bytes> values) {
        bind(name, "fehlende Metal-Pipeline", buffers, values);
        dispatch(w, h);
    }

    void runGrain(const char* name, std::initializer_list<BufferRef> buffers, const BufferRef& grainParams,
                  const BufferRef& grainX, const BufferRef& grainY) {
        bind(name, "fehlende Grain-Pipeline/Buffer", buffers, {});
        encoder_->setBuffer(constants_, CONSTANTS_INDEX);
        unsigned index = CONSTANTS_INDEX;
        for (const BufferRef& buffer : {grainParams, grainX, grainY})
            bindBuffer(buffer, ++index);
        dispatch(width_, height_);
    }

    void keep(std::shared_ptr<void> object) { keepAlive_.push_back(std::move(object)); }
    KeepAlive& keepAlive() { return keepAlive_; }

    DeviceCtx& ctx;

private:
    void bind(const char* name, const char* missing, std::initializer_list<BufferRef> buffers,
              std::initializer_list<Bytes> values) {
        const auto pipeline = ctx.pipelines.find(name);
        if (pipeline == ctx.pipelines.end()) throw std::runtime_error(missing);
        encoder_->setComputePipelineState(pipeline->second);
        unsigned index = 0;
        for (const BufferRef& buffer : buffers)
            bindBuffer(buffer, index++);
        for (const Bytes& value : values)
            encoder_->setBytes(value.data, value.length, value.index);
    }

    void bindBuffer(const BufferRef& buffer, unsigned index) {
        if (!buffer) throw std::runtime_error("nil Metal-Buffer");
        encoder_->setBuffer(buffer, index);
        keep(buffer);
    }

    void dispatch(int w, int h) {
        const auto groups = [](int n) { return (static_cast<std::uint32_t>(n) + GROUP - 1) / GROUP; };
        encoder_->dispatchThreadgroups({groups(w), groups(h), 1}, {GROUP, GROUP, 1});
    }

    KeepAlive keepAlive_;
    CommandBuffer& commands_;
    BufferRef constants_;
    std::shared_ptr<ComputeCommandEncoder> encoder_;
    int width_;
    int height_;
};

// ---- blurs ---------------------------------------------------------------------------------------------------------

WeightEntry weightsFor(Enc& enc, double sigma) {
    WeightEntry weights = weightBuffer(enc.ctx, sigma);
    if (!weights.buffer) throw std::bad_alloc();
    return weights;
}

// Gaussian blur of a full-size plane into dst, which may be src. sigmaY below 0 means sigmaX. Nothing for no blur.
void blurTo(Enc& enc, const BufferRef& src, const BufferRef& dst, const BufferRef& tmp, double sigmaX, double sigmaY) {
    if (sigmaY < 0.0) sigmaY = sigmaX;
    if (sigmaX <= 0.0 && sigmaY <= 0.0) return;
    const WeightEntry x = weightsFor(enc, sigmaX);
    const WeightEntry y = weightsFor(enc, sigmaY);
    enc.run("k_blur_h", {src, tmp, x.buffer}, {bytesOf(x.radius, 3)});
    enc.run("k_blur_v", {tmp, dst, y.buffer}, {bytesOf(y.radius, 3)});
}

// The same on a plane of w x h samples, in place.
void separableGPUdims(Enc& enc, const BufferRef& a, const BufferRef& b, int w, int h, double sigmaX, double sigmaY) {
    const WeightEntry x = weightsFor(enc, sigmaX);
    const WeightEntry y = weightsFor(enc, sigmaY);
    const std::array<int, 2> dim = {w, h};
    enc.runD("k_blur_h_d", {a, b, x.buffer}, w, h, {bytesOf(x.radius, 3), bytesOf(dim, 4)});
    enc.runD("k_blur_v_d", {b, a, y.buffer}, w, h, {bytesOf(y.radius, 3), bytesOf(dim, 4)});
}

struct LevelSize {
    int w;
    int h;
};

void resample(Enc& enc, const char* kernel, const BufferRef& from, const BufferRef& to, LevelSize a, LevelSize b) {
    const std::array<int, 4> dims = {a.w, a.h, b.w, b.h};
    enc.runD(kernel, {from, to}, b.w, b.h, {bytesOf(dims, 2)});
}

// Wide Gaussian blur of plane a in place, scratch b. Level n of the ladder has had variance (4^n - 1) / 3 from its
// unit blurs and a twelfth of the squared step from each halving; only the rest is blurred at the smallest level.
void pyramidBlurGPU(Enc& enc, const BufferRef& a, const BufferRef& b, int w, int h, double sigmaX, double sigmaY) {
    if (w < PYRAMID_SIZE || h < PYRAMID_SIZE || std::max(sigmaX, sigmaY) <= PYRAMID_SIGMA) {
        return separableGPUdims(enc, a, b, w, h, sigmaX, sigmaY);
    }
    BufferRef current = a;
    BufferRef other = b;
    LevelSize size{w, h};
    std::vector<LevelSize> stack;
    double variance = 0.0;
    double scale = 1.0;
    for (;;) {
        const double restX = std::sqrt(std::max(sigmaX * sigmaX - variance, 0.0));
        const double restY = std::sqrt(std::max(sigmaY * sigmaY - variance, 0.0));
        if (std::max(restX, restY) / scale <= PYRAMID_SIGMA || size.w < PYRAMID_SIZE || size.h < PYRAMID_SIZE) {
            separableGPUdims(enc, current, other, size.w, size.h, restX / scale, restY / scale);
            break;
        }
        separableGPUdims(enc, current, other, size.w, size.h, 1.0, 1.0);
        stack.push_back(size);
        const LevelSize half{(size.w + 1) / 2, (size.h + 1) / 2};
        resample(enc, "k_down2", current, other, size, half);
        std::swap(current, other);
        size = half;
        variance += scale * scale + (2.0 * scale) * (2.0 * scale) / 12.0;
        scale *= 2.0;
    }
    for (; !stack.empty(); stack.pop_back()) {
        resample(enc, "k_up_bilinear", current, other, size, stack.back());
        size = stack.back();
        std::swap(current, other);
    }
    if (current != a) enc.run("k_copy", {current, a});
}

// ---- one frame -----------------------------------------------------------------------------------------------------

// What the passes share: the request, the scales after their rules, the record to fill and the planes by role.
struct FramePasses {
    const MetalFrameParams& p;
    Enc& enc;
    MetalFrameParamsGPU& g;
    double sx;
    double sy;
    int frame;
    BufferRef src;
    BufferRef dst;
    Planes3 image;
    Planes3 temp;
    BufferRef scratch;

    NegativeStock stock() const {
        return static_cast<NegativeStock>(p.stock >= 0 && p.stock < NEGATIVE_STOCK_COUNT ? p.stock : 0);
    }
    bool hasLook() const {
        return p.look >= 0 && p.look < PRINT_PROCESS_COUNT && static_cast<PrintProcess>(p.look) != PrintProcess::Off;
    }
};

void detailChannel(FramePasses& f, const BufferRef& channel, double fine, double broad, double sharp, double scatter) {
    const double amount = std::min(f.p.detail, 1.0);
    const auto t = static_cast<float>(amount * scatter);
    const auto sharpening = static_cast<float>(amount * sharp);
    blurTo(f.enc, channel, f.temp[0], f.temp[1], f.sx * fine, f.sy * fine);
    f.enc.run("k_lerp", {channel, f.temp[0], channel}, {bytesOf(t, 3)});
    f.enc.run("k_to_logc4", {channel, f.temp[0]});
    blurTo(f.enc, f.temp[0], f.temp[1], f.temp[2], f.sx * broad, f.sy * broad);
    f.enc.run("k_detail_sharp", {f.temp[0], f.temp[1], channel}, {bytesOf(sharpening, 3)});
}

void encodeDetail(FramePasses& f) {
    // The profile is asked for the stock as given: its own rule decides for values outside the menu.
    const DetailProfile profile = detailProfile(static_cast<NegativeStock>(f.p.stock));
    detailChannel(f, f.image[0], profile.blurR, profile.broadR, profile.sharpR, profile.blurMix);
    detailChannel(f, f.image[1], profile.blurG, profile.broadG, profile.sharpG, profile.blurMix);
    detailChannel(f, f.image[2], profile.blurB, profile.broadB, profile.sharpB, profile.blurMix);
}

void encodeBloom(FramePasses& f) {
    const auto [sigmaX, sigmaY] = bloomSize(f.sx, f.sy, f.p.height);
    const auto knee = static_cast<float>(BLOOM_KNEE);
    const auto gain = static_cast<float>(f.p.bloom * BLOOM_GLOW);
    const auto soft = static_cast<float>(f.p.bloom * BLOOM_DIFFUSION);
    const auto [narrow, wide, softened] = f.temp;
    for (const BufferRef& channel : f.image) {
        f.enc.run("k_excess", {channel, narrow}, {bytesOf(knee, 2)});
        pyramidBlurGPU(f.enc, narrow, f.scratch, f.p.width, f.p.height, BLOOM_NARROW_SIGMA * sigmaX,
                       BLOOM_NARROW_SIGMA * sigmaY);
        f.enc.run("k_excess", {channel, wide}, {bytesOf(knee, 2)});
        pyramidBlurGPU(f.enc, wide, f.scratch, f.p.width, f.p.height, sigmaX, sigmaY);
        f.enc.run("k_copy", {channel, softened});
        pyramidBlurGPU(f.enc, softened, f.scratch, f.p.width, f.p.height, sigmaX, sigmaY);
        f.enc.run("k_bloom_combine", {channel, narrow, wide, softened}, {bytesOf(gain, 4), bytesOf(soft, 5)});
    }
}

void encodeHalation(FramePasses& f) {
    const auto [sigmaX, sigmaY] = halationSize(f.sx, f.sy, f.p.height);
    const HalationProfile profile = halationProfile(f.stock());
    f.g.halW1 = static_cast<float>(profile.w1);
    f.g.halW2 = static_cast<float>(1.0 - profile.w1);
    const double gain = halationIntensity(f.p.halation) * profile.strength;
    const double tint[3] = {profile.tintR, profile.tintG, profile.tintB};
    const auto knee = static_cast<float>(profile.knee);
    const auto [source, narrow, wide] = f.temp;
    for (int c = 0; c < 3; ++c) {
        const auto gc = static_cast<float>(gain * tint[c]);
        f.enc.run("k_excess", {f.image[c], source}, {bytesOf(knee, 2)});
        blurTo(f.enc, source, narrow, f.scratch, sigmaX * profile.sigma1, sigmaY * profile.sigma1);
        blurTo(f.enc, source, wide, f.scratch, sigmaX * profile.sigma2, sigmaY * profile.sigma2);
        f.enc.run("k_hal_combine", {f.image[c], source, narrow, wide}, {bytesOf(gc, 4)});
    }
}

template <typename Value>
BufferRef upload(Enc& enc, const Value* values, std::size_t count) {
    BufferRef buffer = enc.ctx.device->newBufferWithBytes(values, count * sizeof(Value));
    if (!buffer) throw std::bad_alloc();
    return buffer;
}

// The grain cell of each pixel along one axis.
BufferRef grainCells(Enc& enc, int count, int origin, double cell) {
    std::vector<int> cells(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const double at = (static_cast<double>(i) + origin) / cell;
        cells[static_cast<std::size_t>(i)] = std::isfinite(at) ? saturateToInt(at) : 0;
    }
    return upload(enc, cells.data(), cells.size());
}

GrainParams grainParamsOf(const GrainProfile& profile) {
    GrainParams params{};
    for (int i = 0; i < GRAIN_NODE_COUNT; ++i) {
        params.nodeY[i] = static_cast<float>(GRAIN_NODE_Y[i]);
        params.sigR[i] = static_cast<float>(profile.tableR[i]);
        params.sigG[i] = static_cast<float>(profile.tableG[i]);
        params.sigB[i] = static_cast<float>(profile.tableB[i]);
    }
    return params;
}

void encodeGrain(FramePasses& f) {
    const GrainProfile profile = grainProfile(f.stock());
    f.g.grain = static_cast<float>(f.p.grain);
    f.g.grainSeed = profile.grainSeed;
    f.g.grainMono = profile.grainMono ? 1 : 0;
    f.g.grainFrame = f.frame;
    f.g.corrRG = static_cast<float>(profile.corrRG);
    f.g.corrGB = static_cast<float>(profile.corrGB);
    f.g.corrBR = static_cast<float>(profile.corrBR);
    const GrainParams params = grainParamsOf(profile);
    const BufferRef paramBuffer = upload(f.enc, &params, 1);
    const BufferRef cellsX = grainCells(f.enc, f.p.width, f.p.originX, scaleOf(f.p.grainScaleX));
    const BufferRef cellsY = grainCells(f.enc, f.p.height, f.p.originY, scaleOf(f.p.grainScaleY));
    const auto& [r, g, b] = f.image;
    const auto& [codeR, codeG, codeB] = f.temp;
    // The noise takes the place of the linear planes, which live on as codes.
    f.enc.runGrain("k_grain_prepare", {r, g, b, codeR, codeG, codeB, r, g, b}, paramBuffer, cellsX, cellsY);
    const double sizes[3] = {profile.sizeR, profile.sizeG, profile.sizeB};
    for (int c = 0; c < 3; ++c) {
        blurTo(f.enc, f.image[c], f.image[c], f.scratch, sizes[c] * f.sx, sizes[c] * f.sy);
    }
    f.enc.run("k_grain_finish", {codeR, codeG, codeB, r, g, b, r, g, b});
}

void encodeLook(FramePasses& f) {
    LookGPU look;
    if (!printLookBuffer(f.enc.ctx, f.p.look, look, f.enc.keepAlive())) {
        throw std::runtime_error("Print-Look konnte nicht geladen werden");
    }
    const KernelDomain domain = setDomain(look.domainMin, look.domainMax);
    f.g.lutSize = look.size;
    f.g.lutLogDomain = look.logDomain ? 1 : 0;
    f.g.lutMinR = domain.min[0];
    f.g.lutMinG = domain.min[1];
    f.g.lutMinB = domain.min[2];
    f.g.lutInvR = domain.inv[0];
    f.g.lutInvG = domain.inv[1];
    f.g.lutInvB = domain.inv[2];
    f.enc.run("k_color_lut", {f.image[0], f.image[1], f.image[2], look.buffer});
}

void encodeWeave(FramePasses& f) {
    const WeaveMotion motion = weaveMotion(f.frame, f.p.weave, f.sx, f.sy);
    const double sine = std::sin(motion.angle);
    f.g.weaveDx = static_cast<float>(motion.dx);
    f.g.weaveDy = static_cast<float>(motion.dy);
    f.g.weaveCos = static_cast<float>(std::cos(motion.angle));
    f.g.weaveSinX = static_cast<float>(f.sx * sine / f.sy);
    f.g.weaveSinY = static_cast<float>(f.sy * sine / f.sx);
    f.g.weaveActive = 1;
    f.enc.run("k_weave", {f.image[0], f.image[1], f.image[2], f.temp[0], f.temp[1], f.temp[2]});
    std::swap(f.image, f.temp);
}

// The user's table on the device, or null when there is none to apply.
BufferRef prepareOutputLut(FramePasses& f) {
    const LUT3D* lut = f.p.outputLut;
    if (!lut || !(f.p.outputLutStrength > 0.0)) return nullptr;
    const auto n = static_cast<std::size_t>(std::max(lut->size, 0));
    if (lut->size < 2 || lut->size > 4096 || lut->data.size() != n * n * n) {
        throw std::runtime_error("ungültige Output-LUT");
    }
    BufferRef buffer = outputLutBuffer(f.enc.ctx, *lut, lut->data.size() * sizeof(RGB), f.enc.keepAlive());
    if (!buffer) throw std::bad_alloc();
    const KernelDomain domain = setDomain(lut->domainMin, lut->domainMax);
    f.g.outLutStrength = static_cast<float>(mixOf(f.p.outputLutStrength));
    f.g.outLutSize = lut->size;
    f.g.outLutDomain = f.p.outputLutDomain == 1 ? 1 : 0;
    f.g.outLutActive = 1;
    f.g.outMinR = domain.min[0];
    f.g.outMinG = domain.min[1];
    f.g.outMinB = domain.min[2];
    f.g.outInvR = domain.inv[0];
    f.g.outInvG = domain.inv[1];
    f.g.outInvB = domain.inv[2];
    return buffer;
}

void encodePasses(FramePasses& f) {
    const MetalFrameParams& p = f.p;
    f.enc.run("k_decode", {f.src, f.image[0], f.image[1], f.image[2]});
    if (isOn(p.detail)) encodeDetail(f);
    if (isOn(p.bloom)) encodeBloom(f);
    if (isOn(p.halation)) encodeHalation(f);
    if (isOn(p.grain) && f.stock() != NegativeStock::Off) encodeGrain(f);
    if (f.g.color > 0.0f && f.hasLook()) encodeLook(f);
    if (isOn(p.weave) && p.width > 1 && p.height > 1) encodeWeave(f);
    if (f.g.bw > 0.0f) f.enc.run("k_bw", {f.image[0], f.image[1], f.image[2]});
    if (f.g.alexaSceneFit) f.enc.run("k_alexa_scene_fit", {f.image[0], f.image[1], f.image[2]});
    const BufferRef lut = prepareOutputLut(f);
    // Without an output table any buffer may stand in its place; it is never read.
    f.enc.run("k_encode_out", {f.image[0], f.image[1], f.image[2], f.src, f.dst, lut ? lut : f.image[0]});
}

// ---- validation and record -----------------------------------------------------------------------------------------

struct Strides {
    std::int64_t row; // floats that a row holds
    std::int64_t src;
    std::int64_t dst;
};

Strides stridesOf(int width, int components, int srcStride, int dstStride) {
    const std::int64_t row = std::int64_t{width} * components;
    return {row, srcStride > 0 ? srcStride : row, dstStride > 0 ? dstStride : row};
}

// Unsigned: row and stride are below 2^31, so that the product fits 64 bits, but not 63.
std::size_t imageBytes(std::int64_t row, std::int64_t stride, int height) {
    return (static_cast<std::size_t>(row) + static_cast<std::size_t>(stride) * (static_cast<std::size_t>(height) - 1)) *
           sizeof(float);
}

bool stridesFit(const Strides& s) {
    return s.row < (std::int64_t{1} << 31) && s.src >= s.row && s.dst >= s.row;
}

bool buffersFit(const CommandQueue& queue, const Buffer& src, const Buffer& dst, const Strides& s, int height) {
    const std::shared_ptr<Device> device = queue.device();
    return device && sameDevice(src.device(), device) && sameDevice(dst.device(), device) && stridesFit(s) &&
           src.length() >= imageBytes(s.row, s.src, height) && dst.length() >= imageBytes(s.row, s.dst, height);
}

bool frameFits(const MetalFrameParams& p) {
    return p.io >= 0 && p.io < IO_SPACE_COUNT && p.width >= 1 && p.height >= 1 &&
           (p.components == 3 || p.components == 4);
}

MetalFrameParamsGPU constantRecord(const MetalFrameParams& p, const Strides& strides, int frame) {
    MetalFrameParamsGPU g{};
    g.W = p.width;
    g.H = p.height;
    g.io = p.io;
    g.components = p.components;
    g.premultiplied = p.components == 4 && p.premultiplied ? 1 : 0;
    g.srcStride = static_cast<int>(strides.src);
    g.dstStride = static_cast<int>(strides.dst);
    fillIOMatrices(p.io, g);
    const auto gain = [&](int c) {
        return isOn(p.flicker) ? static_cast<float>(flickerGain(frame, p.flicker, c)) : 1.0f;
    };
    g.flickR = gain(0);
    g.flickG = gain(1);
    g.flickB = gain(2);
    g.color = static_cast<float>(mixOf(p.color));
    g.bw = static_cast<float>(mixOf(p.bw));
    g.alexaSceneFit = g.color > 0.0f && p.alexaSceneFit ? 1 : 0;
    g.lutInvR = g.lutInvG = g.lutInvB = 1.0f;
    g.outInvR = g.outInvG = g.outInvB = 1.0f;
    return g;
}

bool anisotropyFits(double sx, double sy) {
    const double ratio = sx / sy;
    return std::isfinite(ratio) && ratio <= 64.0 && ratio >= 1.0 / 64.0;
}

// ---- commit --------------------------------------------------------------------------------------------------------

// A frame's loan of a context and planes: given back at the end of the scope, unless a completion handler took it over.
class PlaneLoan {
public:
    PlaneLoan(const std::shared_ptr<Device>& device, std::size_t planeBytes)
        : ctx_(contextAndPlanes(device, planeBytes, planes_)) {}
    ~PlaneLoan() {
        if (ctx_) releasePlanes(ctx_, planes_, false);
    }
    PlaneLoan(const PlaneLoan&) = delete;
    PlaneLoan& operator=(const PlaneLoan&) = delete;

    explicit operator bool() const { return ctx_ != nullptr; }
    DeviceCtx& ctx() { return *ctx_; }
    const BufferRef& plane(std::size_t i) const { return planes_->buffers[i]; }

    // The two pointers, for a handler that will release them once the loan is handed over.
    std::pair<DeviceCtx*, PlaneSet*> lent() const { return {ctx_, planes_}; }
    void handOver() { ctx_ = nullptr; }

private:
    PlaneSet* planes_ = nullptr;
    DeviceCtx* ctx_;
};

void logFailure(const char* what, CommandBuffer& done) noexcept {
    if (done.status() != CommandBufferStatus::Error) return;
    try {
        std::fprintf(stderr, "[Tarnwell/Metal] %s: %s\n", what, done.error().c_str());
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "[Tarnwell/Metal] %s\n", what);
    }
}

bool commitAndWait(CommandBuffer& commands) {
    if (!commands.commit()) return false;
    commands.waitUntilCompleted();
    return commands.status() == CommandBufferStatus::Completed;
}

// Registers a command buffer and commits it with one handler, which has to end the asynchronous operation. False, with
// nothing left behind, when it can't be registered or the queue does not take it (which is logged as `failure`).
bool commitWithHandler(const std::shared_ptr<CommandBuffer>& commands, bool refuseDuringShutdown, const char* failure,
                       CommandBuffer::CompletedHandler handler) {
    if (!registerAsyncCommandBuffer(commands, refuseDuringShutdown)) return false;
    bool committed = false;
    try {
        commands->addCompletedHandler(std::move(handler));
        committed = commands->commit();
    } catch (...) {
        withdrawCommandBuffer(commands);
        throw;
    }
    if (committed) return true;
    withdrawCommandBuffer(commands);
    logFailure(failure, *commands);
    return false;
}

bool commitAsync(const std::shared_ptr<CommandBuffer>& commands, PlaneLoan& loan, KeepAlive keepAlive) {
    constexpr const char* FAILURE = "Asynchroner Frame fehlgeschlagen";
    const bool committed = commitWithHandler(commands, false, FAILURE,
                                             [lent = loan.lent(), kept = std::move(keepAlive)](CommandBuffer& done) {
                                                 logFailure(FAILURE, done);
                                                 releasePlanes(lent.first, lent.second, true);
                                             });
    if (committed) loan.handOver();
    return committed;
}

// Everything between lending the planes and the commit. Throws with the reason when a pass can't be encoded.
bool encodeAndCommit(const std::shared_ptr<CommandQueue>& queue, const BufferRef& src, const BufferRef& dst,
                     const MetalFrameParams& p, const Strides& strides, PlaneLoan& loan, bool synchronous) {
    const double sx = effectScaleOf(p.effectScaleX);
    const double sy = effectScaleOf(p.effectScaleY);
    if (!anisotropyFits(sx, sy)) return false;
    const int frame = gpuFrameNumber(p.time);
    MetalFrameParamsGPU record = constantRecord(p, strides, frame);
    const BufferRef constants = loan.ctx().device->newBufferWithBytes(&record, sizeof record);
    const std::shared_ptr<CommandBuffer> commands = queue->commandBuffer();
    if (!constants || !commands) return false;
    Enc enc(loan.ctx(), *commands, constants, {queue, src, dst, constants}, p.width, p.height);
    if (!enc.begin()) return false;
    FramePasses passes{p,
                       enc,
                       record,
                       sx,
                       sy,
                       frame,
                       src,
                       dst,
                       {loan.plane(0), loan.plane(1), loan.plane(2)},
                       {loan.plane(3), loan.plane(4), loan.plane(5)},
                       loan.plane(6)};
    encodePasses(passes);
    enc.end();
    // The passes have completed the record, so it reaches the GPU only now.
    void* contents = constants->contents();
    if (!contents) throw std::runtime_error("nil Metal-Buffer");
    std::memcpy(contents, &record, sizeof record);
    return synchronous ? commitAndWait(*commands) : commitAsync(commands, loan, enc.keepAlive());
}

bool renderCore(const std::shared_ptr<CommandQueue>& queue, const BufferRef& src, const BufferRef& dst,
                const MetalFrameParams& p, bool synchronous) {
    if (!queue->device() || !frameFits(p)) return false;
    const Strides strides = stridesOf(p.width, p.components, p.srcStride, p.dstStride);
    if (!buffersFit(*queue, *src, *dst, strides, p.height)) return false;
    const std::size_t planeBytes = static_cast<std::size_t>(p.width) * static_cast<std::size_t>(p.height) * 4;
    try {
        PlaneLoan loan(queue->device(), planeBytes);
        return loan && encodeAndCommit(queue, src, dst, p, strides, loan, synchronous);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "[Tarnwell/Metal] Render-Aufbau fehlgeschlagen: %s\n", error.what());
        return false;
    }
}

bool copyRows(const std::shared_ptr<CommandQueue>& queue, const BufferRef& src, const BufferRef& dst,
              const Strides& strides, int height) {
    const std::shared_ptr<CommandBuffer> commands = queue->commandBuffer();
    if (!commands) return false;
    const std::shared_ptr<BlitCommandEncoder> blit = commands->blitCommandEncoder();
    if (!blit) return false;
    const auto inBytes = [](std::int64_t floats) { return static_cast<std::size_t>(floats) * sizeof(float); };
    if (strides.src == strides.row && strides.dst == strides.row) {
        blit->copyFromBuffer(src, 0, dst, 0, imageBytes(strides.row, strides.row, height));
    } else {
        for (int y = 0; y < height; ++y)
            blit->copyFromBuffer(src, inBytes(y * strides.src), dst, inBytes(y * strides.dst), inBytes(strides.row));
    }
    blit->endEncoding();
    constexpr const char* FAILURE = "Passthrough fehlgeschlagen";
    return commitWithHandler(commands, true, FAILURE, [queue, src, dst](CommandBuffer& done) {
        logFailure(FAILURE, done);
        finishAsyncOp();
    });
}

// Runs a public operation: nothing leaves it but its result.
template <typename Operation>
bool guarded(Runtime& runtime, Operation operation) {
    try {
        const MetalApiGuard admitted(&runtime);
        if (!admitted) return false;
        reapFinishedCommandBuffers();
        return operation();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "[Tarnwell/Metal] Render-Aufbau fehlgeschlagen: %s\n", error.what());
        return false;
    }
}

} // namespace

int gpuFrameNumber(double time) {
    return std::isfinite(time) ? saturateToInt(std::trunc(time + 0.5)) : 0;
}

void fillIOMatrices(int io, MetalFrameParamsGPU& g) {
    static constexpr double IDENTITY[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const double* to = IDENTITY;
    const double* from = IDENTITY;
    if (io == 2 || io == 3) {
        to = CS_MAT_AWG3_TO_AWG4;
        from = CS_MAT_AWG4_TO_AWG3;
    } else if (io >= CS_MAT_FIRST_SPACE && io < IO_SPACE_COUNT) {
        to = CS_MAT_TO_AWG4[io - 4];
        from = CS_MAT_FROM_AWG4[io - 4];
    }
    g.ioHasMatrix = to != IDENTITY ? 1 : 0;
    for (int i = 0; i < 9; ++i) {
        g.toAWG4[i] = static_cast<float>(to[i]);
        g.fromAWG4[i] = static_cast<float>(from[i]);
    }
}

bool renderFrame(Runtime& runtime, void* queue, void* src, void* dst, const MetalFrameParams& p) {
    return guarded(runtime, [&] {
        const auto q = runtime.wrapQueue(queue);
        const auto s = runtime.wrapBuffer(src);
        const auto d = runtime.wrapBuffer(dst);
        return q && s && d && renderCore(q, s, d, p, false);
    });
}

bool renderFrameFromHost(Runtime& runtime, void* queue, const float* src, float* dst, const MetalFrameParams& p) {
    return guarded(runtime, [&] {
        const auto q = runtime.wrapQueue(queue);
        if (!q || !q->device() || !src || !dst || !frameFits(p)) return false;
        const Strides strides = stridesOf(p.width, p.components, p.srcStride, p.dstStride);
        if (!stridesFit(strides)) return false;
        const std::shared_ptr<Device> device = q->device();
        const BufferRef s = device->newBufferWithBytes(src, imageBytes(strides.row, strides.src, p.height));
        const BufferRef d =
            device->newBufferWithLength(imageBytes(strides.row, strides.dst, p.height), StorageMode::Shared);
        if (!s || !d || !renderCore(q, s, d, p, true)) return false;
        const auto* pixels = static_cast<const float*>(d->contents());
        if (!pixels) return false;
        // Row by row: what the caller has between its rows stays as it is.
        const auto stride = static_cast<std::size_t>(strides.dst);
        for (std::size_t y = 0; y < static_cast<std::size_t>(p.height); ++y) {
            std::copy_n(pixels + y * stride, strides.row, dst + y * stride);
        }
        return true;
    });
}

bool passthrough(Runtime& runtime, void* queue, void* src, void* dst, int width, int height, int components,
                 int srcStride, int dstStride) {
    return guarded(runtime, [&] {
        const auto q = runtime.wrapQueue(queue);
        const auto s = runtime.wrapBuffer(src);
        const auto d = runtime.wrapBuffer(dst);
        if (!q || !s || !d || width < 1 || height < 1 || components < 1 || components > 4) return false;
        const Strides strides = stridesOf(width, components, srcStride, dstStride);
        if (!buffersFit(*q, *s, *d, strides, height)) return false;
        if (src == dst) return strides.src == strides.dst;
        return copyRows(q, s, d, strides, height);
    });
}

} // namespace velloid::gpu
