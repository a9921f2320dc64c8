// The chain reads as a list, in film order:
//   flicker, detail, bloom, halation, grain, print look, gate weave, black and white, scene fit, output LUT.
// Rows hold scene-linear AWG4; grain sees them as LogC4 codes. Amounts at 0 skip their stage.
#include "plugin/film_pass.h"

#include "color/colorspace.h"
#include "color/looks.h"
#include "color/lut3d.h"
#include "color/scene_fit.h"
#include "plugin/host.h"
#include "plugin/pixel_io.h"
#include "process/black_and_white.h"
#include "process/bloom.h"
#include "process/bloom_profile.h"
#include "process/detail.h"
#include "process/flicker.h"
#include "process/frame_planes.h"
#include "process/gate_weave.h"
#include "process/grain.h"
#include "process/halation.h"
#include "process/row_chain.h"
#include "process/scratch.h"
#include "process/stage_clock.h"

#include <memory>
#include <optional>
#include <utility>

namespace velloid {

namespace {

// The frame's way through the film, as a chain of rows. What needs the whole frame ends a pass: the rows so far are
// computed into planes, and a new chain goes on from there.
class FilmPass {
public:
    // `stageClock` (null: none) gets the time of each stage.
    FilmPass(const Frame& f, StageClock* stageClock)
        : frame(f), q(f.request), w(static_cast<int>(f.source.width())), h(static_cast<int>(f.source.height())),
          sx(f.scaleX()), sy(f.scaleY()), clock(stageClock) {
        chain.emplace(w, h, "import", importOrigin(f.source, f.layout, q.ioSpace));
    }

    void run(const OfxRectI& area) {
        if (q.flicker > 0.0) chain->add("flicker", flickerRows(q.flicker, q.args.time));
        if (q.detail > 0.0) addDetail(*chain, w, h, q.detail, q.profileStock(), sx, sy);
        if (q.bloom > 0.0) bloom();
        if (q.halation > 0.0) halation();
        if (!q.grainOff()) grain();
        if (!q.printOff()) chain->add("print look", printProcessRows(q.process, q.colorIntensity));
        if (q.gateWeave > 0.0) gateWeave();
        if (q.blackWhite > 0.0) chain->add("black and white", blackAndWhiteRows(q.blackWhite));
        if (q.sceneFit()) chain->add("scene fit", sceneFitRows(q.colorIntensity));
        if (q.outputLut) outputLut();
        const ImageFacts& from = frame.source;
        chain->measure(clock, "export");
        chain->run(
            {area.x1 - from.bounds.x1, area.y1 - from.bounds.y1, area.x2 - from.bounds.x1, area.y2 - from.bounds.y1},
            ExportSink(from, frame.output, format));
    }

private:
    void bloom() {
        const GlowSize size = bloomSize(sx, sy, h);
        endPass();
        const float* const channels[3] = {planes->channel(0), planes->channel(1), planes->channel(2)};
        const StageClock::Time::time_point begin = StageClock::Time::now();
        std::unique_ptr<RowOrigin> rows = bloomOrigin(channels, w, h, q.bloom, size.x, size.y);
        if (clock) clock->add("bloom", StageClock::secondsSince(begin));
        chain.emplace(w, h, "bloom", std::move(rows));
    }

    void halation() {
        const GlowSize size = halationSize(sx, sy, h);
        chain->add("halation", halationStage(w, h, halationIntensity(q.halation), size.x, size.y,
                                             halationProfile(q.profileStock())));
    }

    // The stocks' amounts are given in LogC4 codes.
    void grain() {
        chain->add("grain", onEachChannel(logc4EncodeRow));
        chain->add("grain", grainStage(w, h, q.grainIntensity * q.grainScale(), q.stock, q.args.time, sx, sy,
                                       q.args.scaleX, q.args.scaleY, frame.source.bounds.x1, frame.source.bounds.y1));
        chain->add("grain", onEachChannel(logc4DecodeRow));
    }

    void gateWeave() {
        endPass();
        if (frame.layout.components == 4) {
            const StageClock::Time::time_point begin = StageClock::Time::now();
            alpha.emplace(samplesOf(w, h));
            importAlpha(frame.source, frame.layout, alpha->data());
            if (clock) clock->add("gate weave", StageClock::secondsSince(begin));
            format.ownAlpha = true;
        }
        const float* const alphaPlane = alpha ? alpha->data() : nullptr;
        const float* const channels[3] = {planes->channel(0), planes->channel(1), planes->channel(2)};
        chain.emplace(w, h, "gate weave",
                      w > 1 && h > 1 ? gateWeaveOrigin(channels, alphaPlane, w, h, q.gateWeave, q.args.time, sx, sy)
                                     : planesOrigin(*planes, alphaPlane)); // too small to move
    }

    // The user's table, in the domain that it was made for. In the LogC4 domain its codes are blended in at export.
    void outputLut() {
        std::shared_ptr<const LutRowTable> table = lutRowTable(*q.outputLut);
        if (q.outputLutInLogC4) {
            format.grading = {std::move(table), q.outputLutStrength};
            return;
        }
        format.alreadyEncoded = true;
        chain->add("output LUT", [table = std::move(table), space = q.ioSpace,
                                  strength = q.outputLutStrength](float* r, float* g, float* b, size_t n) {
            encodeRowFromLinearAWG4(r, g, b, n, space);
            if (strength > 0.0) table->blend(r, g, b, n, strength);
        });
    }

    // Computes the frame as far as the chain goes.
    void endPass() {
        FramePlanes result(w, h);
        chain->measure(clock, "planes");
        chain->run({0, 0, w, h}, PlanesSink(result));
        planes = std::move(result);
    }

    const Frame& frame;
    const FrameRequest& q;
    const int w;
    const int h;
    const double sx;
    const double sy;
    StageClock* const clock;
    std::optional<FramePlanes> planes; // what the last pass left
    std::optional<Scratch> alpha;      // as the gate weave needs it
    std::optional<RowChain> chain;
    ExportFormat format{frame.layout, q.ioSpace};
};

void report(const StageClock& clock, const TarnwellRenderStatistics& statistics) {
    for (const StageClock::Entry& entry : clock.entries())
        statistics.stage(statistics.receiver, entry.stage.c_str(), entry.seconds);
    const ScratchUse use = scratchUse();
    statistics.scratch(statistics.receiver, static_cast<double>(use.peak), static_cast<double>(use.kept));
}

} // namespace

const TarnwellRenderStatistics* wantedStatistics(OfxPropertySetHandle inArgs) {
    void* wanted = nullptr;
    if (!readPointer(inArgs, kTarnwellPropRenderStatistics, wanted) || !wanted) return nullptr;
    const auto* statistics = static_cast<const TarnwellRenderStatistics*>(wanted);
    const bool whole = statistics->size >= static_cast<int>(sizeof(TarnwellRenderStatistics));
    return whole && statistics->stage && statistics->scratch ? statistics : nullptr;
}

OfxStatus renderOnCpu(const Frame& asked, const TarnwellRenderStatistics* statistics) {
    const OfxRectI area = asked.area();
    if (isEmpty(area)) return kOfxStatOK;
    const SeparateSource source(asked.source, asked.output, asked.layout);
    const Frame frame{asked.request, source.image(), asked.output, asked.layout};
    if (frame.passThrough()) {
        copyImage(frame.source, frame.output, frame.layout, area);
    } else {
        StageClock clock;
        FilmPass(frame, statistics ? &clock : nullptr).run(area);
        if (statistics) report(clock, *statistics);
    }
    return kOfxStatOK;
}

} // namespace velloid
