// What the plug-in asks of its host, in which order and how often, from load to unload.
#include "tests/bundle/bundle_frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace velloid::test;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using Lines = std::vector<std::string>;

class CallOrder : public testing::Test {
protected:
    // The log's lines that begin with one of these.
    Lines lines(std::initializer_list<std::string_view> beginnings) const {
        Lines found;
        for (const std::string& line : host.log()) {
            if (std::any_of(beginnings.begin(), beginnings.end(),
                            [&](std::string_view b) { return line.starts_with(b); }))
                found.push_back(line);
        }
        return found;
    }

    // What is written about one set: "property[index]".
    Lines written(const std::string& set) const {
        Lines found;
        for (const std::string& line : lines({"propSet"})) {
            const size_t of = line.find(" of " + set + " [");
            if (of == std::string::npos) continue;
            const size_t property = line.find(' ') + 1;
            const size_t index = line.find('[', of);
            found.push_back(line.substr(property, of - property) + line.substr(index, line.find(']') + 1 - index));
        }
        return found;
    }

    void renderEverything(double time) {
        Instance instance(host);
        instance.everything();
        host.record();
        instance.frame(streetOf({16, 12}), {time, 1.0, 1.0});
    }

    Host host;
};

const std::vector<std::string> KEYS_WITH_VALUES = {
    "negStock",  "ioSpace", "colorProcess", "detail",     "grainIntensity",    "halationIntensity", "colorIntensity",
    "gateWeave", "flicker", "bloom",        "blackWhite", "outputLutStrength", "outputLutDomain",   "outputLutPath"};

} // namespace

TEST_F(CallOrder, LoadFetchesTheThreeSuitesAndNothingElse) {
    host.open();
    host.record();
    EXPECT_EQ(host.load(), kOfxStatOK);
    EXPECT_THAT(host.log(), ElementsAre("fetchSuite OfxImageEffectSuite 1", "fetchSuite OfxPropertySuite 1",
                                        "fetchSuite OfxParameterSuite 1"));
}

TEST_F(CallOrder, SetHostAsksNothing) {
    host.record();
    host.open();
    EXPECT_THAT(host.log(), ElementsAre());
}

TEST_F(CallOrder, DescribeWritesTheLabelBeforeTheOtherTwo) {
    host.start();
    host.record();
    EXPECT_EQ(host.describe(), kOfxStatOK);
    EXPECT_THAT(written("effect"),
                ElementsAre("OfxPropLabel[0]", "OfxPropShortLabel[0]", "OfxPropLongLabel[0]",
                            "OfxImageEffectPluginPropGrouping[0]", "OfxImageEffectPropSupportedContexts[0]",
                            "OfxImageEffectPropSupportedContexts[1]", "OfxImageEffectPropSupportedPixelDepths[0]",
                            "OfxImageEffectPropSupportsTiles[0]", "OfxImageEffectPropSupportsMultiResolution[0]",
                            "OfxImageEffectPropMultipleClipDepths[0]", "OfxImageEffectPluginPropHostFrameThreading[0]",
                            "OfxImageEffectPluginRenderThreadSafety[0]", "OfxImageEffectPropMetalRenderSupported[0]",
                            "OfxImageEffectPropClipPreferencesSlaveParam[0]",
                            "OfxImageEffectPropClipPreferencesSlaveParam[1]",
                            "OfxImageEffectPropClipPreferencesSlaveParam[2]",
                            "OfxImageEffectPropClipPreferencesSlaveParam[3]"));
}

TEST_F(CallOrder, ClipsAreDefinedBeforeParametersAndEachInItsPlace) {
    host.start();
    host.record();
    EXPECT_EQ(host.describeInContext(), kOfxStatOK);
    EXPECT_THAT(
        lines({"clipDefine", "getParamSet", "paramDefine"}),
        ElementsAre(
            "clipDefine Source", "clipDefine Output", "getParamSet", "paramDefine negStock as OfxParamTypeChoice",
            "paramDefine detail as OfxParamTypeDouble", "paramDefine grainIntensity as OfxParamTypeDouble",
            "paramDefine halationIntensity as OfxParamTypeDouble", "paramDefine colorProcess as OfxParamTypeChoice",
            "paramDefine colorIntensity as OfxParamTypeDouble", "paramDefine gateWeave as OfxParamTypeDouble",
            "paramDefine flicker as OfxParamTypeDouble", "paramDefine bloom as OfxParamTypeDouble",
            "paramDefine ioSpace as OfxParamTypeChoice", "paramDefine outputLutPath as OfxParamTypeString",
            "paramDefine outputLutStrength as OfxParamTypeDouble", "paramDefine outputLutDomain as OfxParamTypeChoice",
            "paramDefine blackWhite as OfxParamTypeDouble", "paramDefine grpAbout as OfxParamTypeGroup",
            "paramDefine support_paypal as OfxParamTypePushButton"));
}

// A minimum or maximum resets the displayed one in some hosts, and a label the other labels.
TEST_F(CallOrder, EveryParameterIsDescribedInTheOrderThatNoHostUndoes) {
    host.start();
    host.record();
    EXPECT_EQ(host.describeInContext(), kOfxStatOK);
    for (const Parameter& parameter : host.descriptor.parameters) {
        const Lines order = written(parameter.key);
        if (parameter.type == kOfxParamTypeDouble) {
            EXPECT_THAT(order, ElementsAre("OfxParamPropDoubleType[0]", "OfxPropLabel[0]", "OfxParamPropHint[0]",
                                           "OfxParamPropDefault[0]", "OfxParamPropMin[0]", "OfxParamPropMax[0]",
                                           "OfxParamPropDisplayMin[0]", "OfxParamPropDisplayMax[0]"))
                << parameter.key;
        } else if (parameter.type == kOfxParamTypeChoice) {
            Lines expected{"OfxPropLabel[0]", "OfxParamPropHint[0]"};
            const auto& options = parameter.properties.values.at(kOfxParamPropChoiceOption);
            for (size_t i = 0; i < options.size(); ++i)
                expected.push_back("OfxParamPropChoiceOption[" + std::to_string(i) + "]");
            expected.emplace_back("OfxParamPropDefault[0]");
            EXPECT_THAT(order, ElementsAreArray(expected)) << parameter.key;
        } else if (parameter.type == kOfxParamTypeString) {
            EXPECT_THAT(order, ElementsAre("OfxPropLabel[0]", "OfxParamPropHint[0]", "OfxParamPropStringMode[0]",
                                           "OfxParamPropDefault[0]"));
        } else if (parameter.type == kOfxParamTypeGroup) {
            EXPECT_THAT(order, ElementsAre("OfxPropLabel[0]", "OfxParamPropGroupOpen[0]"));
        } else {
            EXPECT_THAT(order, ElementsAre("OfxPropLabel[0]", "OfxParamPropHint[0]", "OfxParamPropParent[0]"));
        }
    }
}

TEST_F(CallOrder, AFrameReadsEveryParameterOnceAndAtItsTime) {
    host.start();
    renderEverything(12.5);
    Lines expected;
    for (const std::string& key : KEYS_WITH_VALUES)
        expected.push_back("paramGetValueAtTime " + key + " at 12.5");
    EXPECT_THAT(lines({"paramGetValueAtTime"}), testing::UnorderedElementsAreArray(expected));
}

TEST_F(CallOrder, AFrameReadsItsArgumentsFirst) {
    host.start();
    renderEverything(0.0);
    const Lines log = host.log();
    ASSERT_GE(log.size(), 8u);
    EXPECT_THAT(Lines(log.begin(), log.begin() + 8),
                ElementsAre("propGetDouble OfxPropTime of arguments [0]",
                            "propGetInt OfxImageEffectPropRenderWindow of arguments [0]",
                            "propGetInt OfxImageEffectPropRenderWindow of arguments [1]",
                            "propGetInt OfxImageEffectPropRenderWindow of arguments [2]",
                            "propGetInt OfxImageEffectPropRenderWindow of arguments [3]",
                            "propGetDouble OfxImageEffectPropRenderScale of arguments [0]",
                            "propGetDouble OfxImageEffectPropRenderScale of arguments [1]", "getParamSet"));
}

TEST_F(CallOrder, AFrameFetchesTheSourceFirstAndReleasesItLast) {
    host.start();
    renderEverything(7.0);
    EXPECT_THAT(lines({"clip"}), ElementsAre("clipGetHandle Source", "clipGetHandle Output", "clipGetImage Source at 7",
                                             "clipGetImage Output at 7", "clipReleaseImage Output image",
                                             "clipReleaseImage Source image"));
    EXPECT_EQ(host.log().back(), "clipReleaseImage Source image");
}

TEST_F(CallOrder, AFrameReadsEveryFactOfAnImageOnce) {
    host.start();
    renderEverything(0.0);
    for (const std::string image : {"Source", "Output"}) {
        Lines facts;
        for (const std::string& line : lines({"propGet"})) {
            if (line.find(" of " + image + " image ") != std::string::npos)
                facts.push_back(line.substr(line.find(' ') + 1));
        }
        Lines once = facts;
        std::sort(once.begin(), once.end());
        once.erase(std::unique(once.begin(), once.end()), once.end());
        EXPECT_EQ(facts.size(), once.size()) << image;
        for (const std::string fact : {"OfxImagePropData", "OfxImagePropRowBytes", "OfxImageEffectPropPixelDepth",
                                       "OfxImageEffectPropComponents"}) {
            EXPECT_THAT(facts, testing::Contains(fact + " of " + image + " image [0]"));
        }
        for (const char* side : {"[0]", "[1]", "[2]", "[3]"})
            EXPECT_THAT(facts, testing::Contains("OfxImagePropBounds of " + image + " image " + side));
    }
}

TEST_F(CallOrder, AnEmptyWindowAsksForNoParameterAndNoImage) {
    host.start();
    Instance instance(host);
    Picture source = streetOf({8, 8});
    Picture output(source.size);
    instance.prepare(source, output, {});
    instance.in().set(kOfxImageEffectPropRenderWindow, {3, 0, 3, 8});
    host.record();
    EXPECT_EQ(instance.render(), kOfxStatOK);
    EXPECT_THAT(lines({"param", "getParamSet", "clip"}), ElementsAre());
    EXPECT_EQ(output.samples, Picture(source.size).samples) << "nothing is written";
}

TEST_F(CallOrder, TheIdentityTestStopsAtTheFirstEffectThatIsOn) {
    host.start();
    Instance instance(host);
    instance.allOff().set("halationIntensity", 0.1);
    host.record();
    EXPECT_EQ(instance.isIdentity(4.0), kOfxStatReplyDefault);
    EXPECT_THAT(lines({"paramGetValueAtTime"}),
                ElementsAre("paramGetValueAtTime detail at 4", "paramGetValueAtTime negStock at 4",
                            "paramGetValueAtTime grainIntensity at 4", "paramGetValueAtTime halationIntensity at 4"));
}

TEST_F(CallOrder, UnloadAsksNothingAndEndsTheWorkersBeforeItAnswers) {
    const int before = liveThreads();
    host.start();
    renderEverything(0.0);
    ASSERT_GT(liveThreads(), before) << "a frame starts the workers";
    host.record();
    EXPECT_EQ(host.unload(), kOfxStatOK);
    EXPECT_THAT(host.log(), ElementsAre());
    EXPECT_TRUE(threadsSettleAt(before)) << liveThreads() - before << " threads outlive the unload action";
}
