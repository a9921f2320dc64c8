// What the renderer keeps per device: contexts, plane sets, tables, and who waits for whom.
#include "color/looks.h"
#include "tests/metal/gpu_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

namespace velloid::gpu {
namespace {

using testing::Each;

constexpr std::size_t MIB = 1 << 20;

struct Loan {
    DeviceCtx* ctx = nullptr;
    PlaneSet* planes = nullptr;
    explicit operator bool() const { return ctx != nullptr; }
};

// A buffer that has a length and no bytes.
class PaperBuffer final : public Buffer {
public:
    PaperBuffer(std::shared_ptr<Device> of, std::size_t length) : owner(std::move(of)), bytes(length) {}
    std::shared_ptr<Device> device() const override { return owner; }
    std::size_t length() const override { return bytes; }
    void* contents() override { return nullptr; }

private:
    const std::shared_ptr<Device> owner;
    const std::size_t bytes;
};

// A device whose private buffers cost nothing, for plane sets of hundreds of megabytes.
class PaperDevice final : public Device {
public:
    explicit PaperDevice(std::shared_ptr<Device> of) : real(std::move(of)) {}
    void* handle() const override { return real->handle(); }
    std::string name() const override { return real->name(); }
    std::shared_ptr<Library> newLibraryWithSource(const std::string& source, const CompileOptions& options,
                                                  std::string& error) override {
        return real->newLibraryWithSource(source, options, error);
    }
    std::shared_ptr<Buffer> newBufferWithLength(std::size_t length, StorageMode) override {
        return std::make_shared<PaperBuffer>(real, length);
    }
    std::shared_ptr<Buffer> newBufferWithBytes(const void* bytes, std::size_t length) override {
        return real->newBufferWithBytes(bytes, length);
    }

private:
    const std::shared_ptr<Device> real;
};

class DeviceContext : public GpuTest {
protected:
    std::shared_ptr<Device> gpu = newDevice();

    void useLargePlanes() { gpu = std::make_shared<PaperDevice>(gpu); }

    void TearDown() override {
        gpu.reset();
        GpuTest::TearDown();
    }

    Loan lend(std::size_t planeBytes) {
        Loan loan;
        loan.ctx = contextAndPlanes(gpu, planeBytes, loan.planes);
        return loan;
    }
    static void giveBack(const Loan& loan) { releasePlanes(loan.ctx, loan.planes, false); }

    // A context with no plane set on loan.
    DeviceCtx& context() {
        const Loan loan = lend(64);
        giveBack(loan);
        return *loan.ctx;
    }
};

std::vector<float> floatsOf(const std::shared_ptr<Buffer>& buffer) {
    const auto* first = static_cast<const float*>(buffer->contents());
    return {first, first + buffer->length() / sizeof(float)};
}

LUT3D table(int size, std::uint64_t id) {
    LUT3D lut;
    lut.size = size;
    lut.id = id;
    lut.data.assign(static_cast<std::size_t>(size) * static_cast<std::size_t>(size) * static_cast<std::size_t>(size),
                    RGB{0.1f, 0.2f, 0.3f});
    return lut;
}

// ---- contexts and pipelines ----------------------------------------------------------------------------------------

TEST_F(DeviceContext, BuildsEveryPipelineOnceAndLendsSevenPrivatePlanes) {
    const Loan loan = lend(4096);
    ASSERT_TRUE(loan);
    EXPECT_TRUE(loan.ctx->ready);
    EXPECT_EQ(loan.ctx->pipelines.size(), 21u);
    EXPECT_EQ(loan.planes->buffers.size(), 7u);
    for (const auto& plane : loan.planes->buffers) {
        EXPECT_EQ(plane->length(), 4096u);
        EXPECT_EQ(plane->contents(), nullptr) << "planes are private to the GPU";
    }
    EXPECT_EQ(loan.planes->planeBytes, 4096u);
    EXPECT_TRUE(loan.planes->busy);
    EXPECT_EQ(loan.ctx->framesInFlight, 1u);
    giveBack(loan);
    EXPECT_FALSE(loan.planes->busy);
    EXPECT_EQ(loan.ctx->framesInFlight, 0u);
    giveBack(lend(4096));
    EXPECT_EQ(runtime.calls(Fault::Library), 1);
    EXPECT_EQ(runtime.calls(Fault::Pipeline), 21);
}

TEST_F(DeviceContext, IsOnePerDevice) {
    const Loan here = lend(64);
    gpu = runtime.wrapQueue(runtime.hostQueue(device))->device(); // another queue of the same device
    const Loan again = lend(64);
    EXPECT_EQ(again.ctx, here.ctx);
    gpu = runtime.wrapQueue(runtime.hostQueue(runtime.hostDevice()))->device();
    const Loan other = lend(64);
    EXPECT_NE(other.ctx, here.ctx);
    EXPECT_EQ(counters().contexts, 2u);
    for (const Loan& loan : {here, again, other})
        giveBack(loan);
}

TEST_F(DeviceContext, SaysWhyTheLibraryDoesNotCompileAndTriesAgainNextTime) {
    runtime.fail(Fault::Library);
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(lend(64)); }),
              "[Tarnwell/Metal] Library-Compile fehlgeschlagen: reference device: told to refuse the library\n");
    EXPECT_EQ(counters().framesInFlight, 0u);
    EXPECT_EQ(logOf([&] { giveBack(lend(64)); }), "");
}

TEST_F(DeviceContext, SaysWhichPipelineFailsAndKeepsNone) {
    runtime.fail(Fault::Pipeline, 4);
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(lend(64)); }),
              "[Tarnwell/Metal] Pipeline k_blur_v_d: reference device: told to refuse the pipeline\n");
    EXPECT_EQ(runtime.live().pipelines, 0);
    const Loan loan = lend(64);
    ASSERT_TRUE(loan);
    EXPECT_EQ(loan.ctx->pipelines.size(), 21u);
    giveBack(loan);
}

// ---- planes --------------------------------------------------------------------------------------------------------

TEST_F(DeviceContext, RefusesPlanesOfNoBytesOrMoreThanCanBeCounted) {
    EXPECT_FALSE(lend(0));
    EXPECT_FALSE(lend(std::numeric_limits<std::size_t>::max() / 7 + 1));
    EXPECT_EQ(counters().planeSets, 0u);
}

TEST_F(DeviceContext, ReusesASetOfTheSameSize) {
    const Loan first = lend(4096);
    const auto plane = first.planes->buffers[0];
    giveBack(first);
    const int made = runtime.calls(Fault::Buffer);
    const Loan second = lend(4096);
    EXPECT_EQ(second.planes->buffers[0], plane);
    EXPECT_EQ(runtime.calls(Fault::Buffer), made);
    giveBack(second);
}

TEST_F(DeviceContext, GivesFramesOfTwoSizesASetEach) {
    const Loan small = lend(64);
    const Loan large = lend(4096);
    EXPECT_NE(small.planes, large.planes);
    EXPECT_EQ(counters().planeSets, 2u);
    EXPECT_EQ(counters().planeBytes, 7u * (64 + 4096));
    giveBack(small);
    giveBack(large);
    const Loan again = lend(4096);
    EXPECT_EQ(again.planes, large.planes) << "the set that already has the size, not the first free one";
    giveBack(again);
}

TEST_F(DeviceContext, ReplacesTheFirstFreeSetWhenNoneHasTheSize) {
    const Loan loan = lend(64);
    giveBack(loan);
    const Loan other = lend(128);
    EXPECT_EQ(other.planes, loan.planes);
    EXPECT_EQ(other.planes->planeBytes, 128u);
    EXPECT_EQ(counters().planeSets, 1u);
    giveBack(other);
}

TEST_F(DeviceContext, LetsAFourthFrameWaitForOneOfThree) {
    std::vector<Loan> loans = {lend(64), lend(64), lend(64)};
    EXPECT_EQ(counters().framesInFlight, 3u);
    std::atomic<bool> lent = false;
    auto fourth = inBackground([&] {
        const Loan loan = lend(64);
        lent = true;
        return loan;
    });
    waitUntil([] { return counters().contextWaiters == 1; });
    EXPECT_FALSE(lent);
    giveBack(loans[1]);
    const Loan loan = fourth.get();
    EXPECT_EQ(loan.planes, loans[1].planes);
    EXPECT_EQ(counters().contextWaiters, 0u);
    EXPECT_EQ(counters().planeSets, 3u);
    for (const Loan& one : {loans[0], loan, loans[2]})
        giveBack(one);
}

TEST_F(DeviceContext, KeepsThreeFramesPerDeviceNotInAll) {
    const std::vector<Loan> here = {lend(64), lend(64), lend(64)};
    gpu = runtime.wrapQueue(runtime.hostQueue(runtime.hostDevice()))->device();
    const Loan other = lend(64); // does not wait
    EXPECT_TRUE(other);
    for (const Loan& loan : here)
        giveBack(loan);
    giveBack(other);
}

TEST_F(DeviceContext, EvictsFreeSetsLargestFirst) {
    useLargePlanes();
    const Loan small = lend(1 * MIB);
    const Loan middle = lend(2 * MIB);
    const Loan large = lend(40 * MIB);
    for (const Loan& loan : {small, middle, large})
        giveBack(loan);
    const Loan frame = lend(109 * MIB); // 763 of the 768 MiB
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame.planes, small.planes) << "the first free set";
    EXPECT_TRUE(large.planes->buffers.empty());
    EXPECT_TRUE(middle.planes->buffers.empty()) << "763 + 14 MiB are still above the budget";
    EXPECT_EQ(counters().planeBytes, 763 * MIB);
    giveBack(frame);
}

TEST_F(DeviceContext, StopsEvictingAsSoonAsTheFrameFits) {
    useLargePlanes();
    const Loan a = lend(1 * MIB);
    const Loan b = lend(2 * MIB);
    const Loan c = lend(40 * MIB);
    for (const Loan& loan : {a, b, c})
        giveBack(loan);
    const Loan frame = lend(100 * MIB);
    EXPECT_EQ(frame.planes, a.planes);
    EXPECT_EQ(c.planes->planeBytes, 0u);
    EXPECT_EQ(b.planes->planeBytes, 2 * MIB);
    giveBack(frame);
}

TEST_F(DeviceContext, LetsAFrameWaitWhileTheBudgetIsLent) {
    useLargePlanes();
    const Loan first = lend(100 * MIB); // 700 MiB of the 768
    auto second = inBackground([&] { return lend(20 * MIB); });
    waitUntil([] { return counters().contextWaiters == 1; });
    EXPECT_EQ(counters().framesInFlight, 1u) << "a slot is free, memory is not";
    giveBack(first);
    const Loan loan = second.get();
    EXPECT_TRUE(loan);
    giveBack(loan);
}

TEST_F(DeviceContext, GivesAFrameAboveTheBudgetWhatItNeedsAlone) {
    useLargePlanes();
    const Loan first = lend(MIB);
    auto second = inBackground([&] { return lend(110 * MIB); }); // 770 MiB
    waitUntil([] { return counters().contextWaiters == 1; });
    giveBack(first);
    const Loan loan = second.get();
    ASSERT_TRUE(loan);
    EXPECT_EQ(counters().planeBytes, 770 * MIB) << "nothing beside it";
    giveBack(loan);
}

TEST_F(DeviceContext, LeavesNothingBehindWhenAPlaneCanNotBeHad) {
    context();
    for (int skip = 0; skip < 7; ++skip) {
        runtime.fail(Fault::Buffer, skip);
        EXPECT_FALSE(lend(4096)) << "plane " << skip;
        EXPECT_EQ(counters().planeBytes, 0u);
        EXPECT_EQ(counters().framesInFlight, 0u);
    }
    const Loan loan = lend(4096);
    EXPECT_TRUE(loan);
    giveBack(loan);
}

TEST_F(DeviceContext, CountsNothingBelowZero) {
    DeviceCtx& ctx = context();
    releasePlanes(&ctx, nullptr, true);
    releasePlanes(&ctx, nullptr, false);
    releasePlanes(nullptr, nullptr, true);
    finishAsyncOp();
    EXPECT_EQ(ctx.framesInFlight, 0u);
    EXPECT_EQ(counters().asyncOps, 0u);
}

// ---- weights -------------------------------------------------------------------------------------------------------

TEST_F(DeviceContext, WeighsASingleSampleForNoBlur) {
    DeviceCtx& ctx = context();
    for (const double sigma : {0.0, 1e-9, 1e-10, -3.0}) {
        const WeightEntry entry = weightBuffer(ctx, sigma);
        EXPECT_EQ(entry.radius, 0) << sigma;
        EXPECT_THAT(floatsOf(entry.buffer), testing::ElementsAre(1.0f)) << sigma;
    }
    EXPECT_EQ(weightBuffer(ctx, 1.1e-9).radius, 1) << "at least one neighbour";
    EXPECT_THAT(floatsOf(weightBuffer(ctx, 1.1e-9).buffer), testing::ElementsAre(0.0f, 1.0f, 0.0f));
}

TEST_F(DeviceContext, NormalisesTheWeightsInDouble) {
    const double sigma = 2.5;
    const WeightEntry entry = weightBuffer(context(), sigma);
    ASSERT_EQ(entry.radius, 8);
    std::vector<float> expected;
    double sum = 0.0;
    for (int k = -8; k <= 8; ++k) {
        expected.push_back(static_cast<float>(std::exp(-k * k / (2 * sigma * sigma))));
        sum += std::exp(-k * k / (2 * sigma * sigma));
    }
    for (float& weight : expected)
        weight = static_cast<float>(weight / sum);
    EXPECT_EQ(floatsOf(entry.buffer), expected);
}

TEST_F(DeviceContext, RefusesASigmaThatNoBlurCanHave) {
    DeviceCtx& ctx = context();
    EXPECT_EQ(weightBuffer(ctx, 2730.5).radius, 8192);
    const auto messageFor = [&ctx](double sigma) -> std::string {
        try {
            weightBuffer(ctx, sigma);
            return "nothing thrown";
        } catch (const std::length_error& error) {
            return error.what();
        }
    };
    EXPECT_EQ(messageFor(2731.0), "Gaussian-Radius überschreitet Sicherheitslimit");
    EXPECT_EQ(messageFor(1e308), "Gaussian-Radius überschreitet Sicherheitslimit");
    EXPECT_EQ(messageFor(std::nan("")), "nicht-endliches Gaussian-Sigma");
    EXPECT_EQ(messageFor(std::numeric_limits<double>::infinity()), "nicht-endliches Gaussian-Sigma");
    EXPECT_EQ(messageFor(-std::numeric_limits<double>::infinity()), "nicht-endliches Gaussian-Sigma");
}

TEST_F(DeviceContext, SharesWeightsOfSigmasEqualToAMillionth) {
    DeviceCtx& ctx = context();
    const WeightEntry entry = weightBuffer(ctx, 3.1);
    EXPECT_EQ(weightBuffer(ctx, 3.1000004).buffer, entry.buffer);
    EXPECT_EQ(weightBuffer(ctx, 3.0999996).buffer, entry.buffer);
    EXPECT_NE(weightBuffer(ctx, 3.1000006).buffer, entry.buffer);
    EXPECT_EQ(ctx.weights.size(), 2u);
}

TEST_F(DeviceContext, GivesASigmaTheSameTapsWhateverCameBefore) {
    for (const auto& [one, other] : {std::pair{3.1, 3.1000004}, std::pair{0.93 * 1.1, 0.93 * 1.1 + 2e-7}}) {
        DeviceCtx& ctx = context();
        ctx.weights.clear();
        const std::vector<float> alone = floatsOf(weightBuffer(ctx, one).buffer);
        ctx.weights.clear();
        weightBuffer(ctx, other);
        EXPECT_EQ(floatsOf(weightBuffer(ctx, one).buffer), alone) << one << " after " << other;
    }
}

// Sigmas of one entry on either side of a whole 3 sigma keep the reach that the CPU gives them.
TEST_F(DeviceContext, SharesOneEntryBetweenTwoRadii) {
    const double pairs[][2] = {{6.0, std::nextafter(6.0, 7.0)}, {1.0, 1.0000004}, {8.0 / 3.0, 2.6666671}};
    for (const auto& [low, high] : pairs) {
        DeviceCtx& ctx = context();
        ctx.weights.clear();
        const int reach = static_cast<int>(std::round(3.0 * low));
        EXPECT_EQ(weightBuffer(ctx, high).radius, reach + 1) << high;
        EXPECT_EQ(weightBuffer(ctx, low).radius, reach) << low << " after " << high;
        EXPECT_EQ(ctx.weights.size(), 1u);
        const WeightEntry again = weightBuffer(ctx, high);
        EXPECT_EQ(again.radius, reach + 1) << high << " after " << low;
        EXPECT_EQ(floatsOf(again.buffer).size(), 2u * static_cast<unsigned>(reach) + 3u);
        EXPECT_EQ(ctx.weights.size(), 1u);
    }
}

TEST_F(DeviceContext, HasTheRadiusOfTheCpuAtEverySigma) {
    DeviceCtx& ctx = context();
    for (int i = 1; i < 200; ++i) {
        for (const double sigma : {i / 3.0, i / 3.0 + 3e-7, i / 3.0 - 3e-7, i * 0.0431, i * 0.1, i * 1e-7}) {
            const WeightEntry entry = weightBuffer(ctx, sigma);
            const int radius = std::max(static_cast<int>(std::ceil(3.0 * sigma)), 1);
            EXPECT_EQ(entry.radius, radius) << sigma;
            EXPECT_EQ(floatsOf(entry.buffer).size(), 2u * static_cast<unsigned>(radius) + 1u) << sigma;
        }
    }
}

TEST_F(DeviceContext, DropsTheWeightsThatWereUsedLongestAgo) {
    DeviceCtx& ctx = context();
    const auto first = weightBuffer(ctx, 1.0).buffer;
    for (int i = 1; i < 64; ++i)
        weightBuffer(ctx, 1.0 + 0.01 * i);
    EXPECT_EQ(ctx.weights.size(), 64u);
    EXPECT_EQ(weightBuffer(ctx, 1.0).buffer, first); // used again: 1.01 is now the oldest
    weightBuffer(ctx, 2.0);
    EXPECT_EQ(ctx.weights.size(), 64u);
    EXPECT_EQ(ctx.weights.count(1000000), 1u);
    EXPECT_EQ(ctx.weights.count(1010000), 0u);
    EXPECT_EQ(ctx.weights.count(2000000), 1u);
}

TEST_F(DeviceContext, DoesNotRememberWeightsWithoutMemory) {
    DeviceCtx& ctx = context();
    runtime.fail(Fault::Buffer);
    EXPECT_EQ(weightBuffer(ctx, 3.0).buffer, nullptr);
    EXPECT_EQ(ctx.weights.size(), 0u);
    EXPECT_NE(weightBuffer(ctx, 3.0).buffer, nullptr);
}

// ---- looks and output tables ---------------------------------------------------------------------------------------

TEST_F(DeviceContext, UploadsALookOnceAndKeepsItForTheFrame) {
    DeviceCtx& ctx = context();
    const int look = static_cast<int>(PrintProcess::Kodak2383);
    const LUT3D& made = printLut(PrintProcess::Kodak2383);
    LookGPU first;
    KeepAlive kept;
    ASSERT_TRUE(printLookBuffer(ctx, look, first, kept));
    EXPECT_EQ(first.size, made.size);
    EXPECT_EQ(first.logDomain, made.logDomain);
    EXPECT_EQ(first.domainMax.g, made.domainMax.g);
    ASSERT_EQ(first.buffer->length(), made.data.size() * 12);
    EXPECT_EQ(std::memcmp(first.buffer->contents(), made.data.data(), first.buffer->length()), 0);
    EXPECT_THAT(kept, testing::ElementsAre(first.buffer));
    LookGPU second;
    ASSERT_TRUE(printLookBuffer(ctx, look, second, kept));
    EXPECT_EQ(second.buffer, first.buffer);
    purgeCaches();
    EXPECT_EQ(counters().looks, 1u) << "looks survive a purge";
}

TEST_F(DeviceContext, KnowsFifteenLooks) {
    DeviceCtx& ctx = context();
    LookGPU look;
    KeepAlive kept;
    EXPECT_TRUE(printLookBuffer(ctx, 0, look, kept));
    EXPECT_TRUE(printLookBuffer(ctx, 14, look, kept));
    EXPECT_EQ(kept.size(), 2u);
    EXPECT_FALSE(printLookBuffer(ctx, 15, look, kept));
    EXPECT_FALSE(printLookBuffer(ctx, -1, look, kept));
    EXPECT_EQ(kept.size(), 2u);
}

TEST_F(DeviceContext, FailsALookWithoutMemoryAndTriesAgain) {
    DeviceCtx& ctx = context();
    LookGPU look;
    KeepAlive kept;
    runtime.fail(Fault::Buffer);
    EXPECT_FALSE(printLookBuffer(ctx, 3, look, kept));
    EXPECT_TRUE(kept.empty());
    EXPECT_TRUE(printLookBuffer(ctx, 3, look, kept));
}

TEST_F(DeviceContext, UploadsAnUnchangedOutputTableOnce) {
    DeviceCtx& ctx = context();
    KeepAlive kept;
    const LUT3D lut = table(3, 77);
    const auto first = outputLutBuffer(ctx, lut, 27 * 12, kept);
    ASSERT_EQ(first->length(), 27u * 12);
    EXPECT_EQ(floatsOf(first)[1], 0.2f);
    EXPECT_EQ(outputLutBuffer(ctx, lut, 27 * 12, kept), first);
    EXPECT_EQ(kept.size(), 2u);
    EXPECT_NE(outputLutBuffer(ctx, table(2, 77), 8 * 12, kept), first) << "another size under the same id";
    EXPECT_EQ(ctx.outputLuts.size(), 1u) << "replaces the entry";
}

TEST_F(DeviceContext, DoesNotRememberATableWithoutIdentity) {
    DeviceCtx& ctx = context();
    KeepAlive kept;
    const LUT3D lut = table(2, 0);
    const auto first = outputLutBuffer(ctx, lut, 96, kept);
    EXPECT_NE(outputLutBuffer(ctx, lut, 96, kept), first);
    EXPECT_EQ(kept.size(), 2u);
    EXPECT_TRUE(ctx.outputLuts.empty());
    runtime.fail(Fault::Buffer);
    EXPECT_EQ(outputLutBuffer(ctx, lut, 96, kept), nullptr);
    EXPECT_EQ(kept.size(), 2u);
}

TEST_F(DeviceContext, DropsTheOutputTableThatWasUsedLongestAgo) {
    DeviceCtx& ctx = context();
    KeepAlive kept;
    for (std::uint64_t id = 1; id <= 8; ++id)
        outputLutBuffer(ctx, table(2, id), 96, kept);
    outputLutBuffer(ctx, table(2, 1), 96, kept);
    outputLutBuffer(ctx, table(2, 9), 96, kept);
    EXPECT_EQ(ctx.outputLuts.size(), 8u);
    EXPECT_EQ(ctx.outputLuts.count(1), 1u);
    EXPECT_EQ(ctx.outputLuts.count(2), 0u);
    runtime.fail(Fault::Buffer);
    EXPECT_EQ(outputLutBuffer(ctx, table(2, 10), 96, kept), nullptr);
    EXPECT_EQ(ctx.outputLuts.size(), 8u);
}

TEST(KernelDomain, IsZeroToOneForAnAxisWithoutARisingRange) {
    const float inf = std::numeric_limits<float>::infinity();
    const KernelDomain mixed = setDomain({-1.0f, 0.5f, 0.0f}, {3.0f, 0.5f, inf});
    EXPECT_THAT(mixed.min, testing::ElementsAre(-1.0f, 0.0f, 0.0f));
    EXPECT_THAT(mixed.inv, testing::ElementsAre(0.25f, 1.0f, 1.0f));
    const KernelDomain odd = setDomain({std::nanf(""), 2.0f, -inf}, {1.0f, 1.0f, 1.0f});
    EXPECT_THAT(odd.min, Each(0.0f));
    EXPECT_THAT(odd.inv, Each(1.0f));
}

// ---- command buffers, purge, shutdown ------------------------------------------------------------------------------

TEST_F(DeviceContext, ForgetsOnlyCommandBuffersThatHaveFinished) {
    const auto queueHere = runtime.wrapQueue(queue);
    const auto done = queueHere->commandBuffer();
    const auto waiting = queueHere->commandBuffer();
    for (const auto& commands : {done, waiting}) {
        ASSERT_TRUE(registerAsyncCommandBuffer(commands, true));
        commands->addCompletedHandler([](CommandBuffer&) { finishAsyncOp(); });
    }
    EXPECT_EQ(counters().commandBuffers, 2u);
    EXPECT_EQ(counters().asyncOps, 2u);
    done->commit();
    done->waitUntilCompleted();
    reapFinishedCommandBuffers();
    EXPECT_EQ(counters().commandBuffers, 1u);
    runtime.fail(Fault::Execution);
    waiting->commit();
    waiting->waitUntilCompleted();
    ASSERT_EQ(waiting->status(), CommandBufferStatus::Error);
    reapFinishedCommandBuffers();
    EXPECT_EQ(counters().commandBuffers, 0u) << "failed ones have finished too";
}

TEST_F(DeviceContext, TakesACommandBufferOutThatIsNotCommitted) {
    const auto commands = runtime.wrapQueue(queue)->commandBuffer();
    ASSERT_TRUE(registerAsyncCommandBuffer(commands, false));
    withdrawCommandBuffer(commands);
    EXPECT_EQ(counters().commandBuffers, 0u);
    EXPECT_EQ(counters().asyncOps, 0u);
}

TEST_F(DeviceContext, PurgesTablesAndFreePlanesButNotThoseOfAFrame) {
    const Loan busy = lend(4096);
    const Loan free = lend(4096);
    giveBack(free);
    KeepAlive kept;
    weightBuffer(*busy.ctx, 2.0);
    outputLutBuffer(*busy.ctx, table(2, 5), 96, kept);
    purgeCaches();
    EXPECT_EQ(counters().weights, 0u);
    EXPECT_EQ(counters().outputLuts, 0u);
    EXPECT_EQ(busy.planes->buffers.size(), 7u);
    EXPECT_TRUE(busy.planes->busy);
    EXPECT_TRUE(free.planes->buffers.empty());
    EXPECT_EQ(free.planes->planeBytes, 0u);
    EXPECT_EQ(busy.ctx->pipelines.size(), 21u);
    giveBack(busy);
}

TEST_F(DeviceContext, WaitsAtShutdownForAFrameAndThenForgetsTheContext) {
    const Loan loan = lend(64);
    auto ended = inBackground([] { shutdown(); });
    waitUntil([] { return !MetalApiGuard(); });
    EXPECT_EQ(counters().contexts, 1u);
    EXPECT_FALSE(lend(64)) << "no new frames";
    giveBack(loan);
    ended.get();
    EXPECT_EQ(counters().contexts, 0u);
    EXPECT_TRUE(static_cast<bool>(MetalApiGuard()));
    giveBack(lend(64)); // starts afresh
    EXPECT_EQ(runtime.calls(Fault::Library), 2);
}

TEST_F(DeviceContext, WaitsAtShutdownForPublicCalls) {
    std::optional<MetalApiGuard> call(std::in_place);
    ASSERT_TRUE(*call);
    auto ended = inBackground([] { shutdown(); });
    waitUntil([] { return !MetalApiGuard(); });
    EXPECT_EQ(counters().apiCalls, 1u);
    EXPECT_EQ(ended.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
    call.reset();
    ended.get();
}

TEST_F(DeviceContext, WakesWaitingFramesAtShutdown) {
    const std::vector<Loan> loans = {lend(64), lend(64), lend(64)};
    auto fourth = inBackground([&] { return lend(64); });
    waitUntil([] { return counters().contextWaiters == 1; });
    auto ended = inBackground([] { shutdown(); });
    EXPECT_FALSE(fourth.get());
    for (const Loan& loan : loans)
        giveBack(loan);
    ended.get();
}

TEST_F(DeviceContext, LetsASecondShutdownWaitForTheFirst) {
    const Loan loan = lend(64);
    std::atomic<bool> released = false;
    auto first = inBackground([] { shutdown(); });
    waitUntil([] { return !MetalApiGuard(); });
    auto second = inBackground([&] {
        shutdown();
        return released.load();
    });
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
    released = true;
    giveBack(loan);
    first.get();
    EXPECT_TRUE(second.get()) << "returned while the first was still waiting";
    EXPECT_EQ(counters().contexts, 0u);
}

TEST_F(DeviceContext, RefusesCopiesButNotFramesThatAreBeingCommittedAtShutdown) {
    const Loan loan = lend(64);
    auto ended = inBackground([] { shutdown(); });
    waitUntil([] { return !MetalApiGuard(); });
    const auto commands = runtime.wrapQueue(queue)->commandBuffer();
    EXPECT_FALSE(registerAsyncCommandBuffer(commands, true));
    EXPECT_TRUE(registerAsyncCommandBuffer(commands, false));
    withdrawCommandBuffer(commands);
    finishAsyncOp();
    giveBack(loan);
    ended.get();
}

TEST_F(DeviceContext, DoesNothingAtAShutdownOrPurgeWithoutAContext) {
    shutdown();
    purgeCaches();
    shutdown();
    EXPECT_EQ(runtime.calls(Fault::Library), 0);
}

} // namespace
} // namespace velloid::gpu
