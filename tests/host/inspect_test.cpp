// One sentence and one exit status per way in which a bundle can be wrong.
#include "host/inspect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <unistd.h>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

class Inspecting : public ::testing::Test {
protected:
    Inspecting() : root(fs::path(::testing::TempDir()) / ("tarnwell-inspect-" + std::to_string(::getpid()))) {
        fs::remove_all(root);
        fs::create_directories(root);
    }
    ~Inspecting() override { fs::remove_all(root); }

    InspectReport inspectBuilt(const std::string& name) {
        return inspectBundle(host, fs::path(TEST_BUNDLES) / (name + ".ofx.bundle"));
    }

    static void expect(const InspectReport& report, InspectOutcome outcome, const std::string& part) {
        EXPECT_EQ(static_cast<int>(report.outcome), static_cast<int>(outcome)) << report.sentence;
        EXPECT_NE(report.sentence.find(part), std::string::npos) << report.sentence;
        EXPECT_EQ(reportText(report).rfind(report.sentence, 0), 0u) << "the sentence comes first";
    }

    fs::path root;
    Host host;
};

TEST_F(Inspecting, AGoodBundleTellsAllAboutIt) {
    const InspectReport report = inspectBuilt("Second");
    expect(report, InspectOutcome::Fine, "loads and describes itself");
    EXPECT_EQ(report.entryPoints, (std::vector<std::string>{"OfxGetNumberOfPlugins", "OfxGetPlugin"}));
    EXPECT_EQ(report.architecturesFound, std::vector<std::string>{TEST_BUNDLE_ARCH});
    EXPECT_TRUE(report.missingSymbols.empty()) << report.missingSymbols.front();
    EXPECT_FALSE(report.neededGlibc.empty());
    ASSERT_EQ(report.plugins.size(), 1u);
    const InspectedPlugin& plugin = report.plugins[0];
    EXPECT_EQ(plugin.identifier, "tests:second");
    EXPECT_EQ(plugin.versionMajor, 2u);
    EXPECT_EQ(plugin.label, "Second");
    EXPECT_EQ(plugin.loadStatus, "kOfxStatOK");
    EXPECT_EQ(plugin.contextStatus, "kOfxStatOK");
    EXPECT_EQ(plugin.depths.size(), 4u);
    EXPECT_EQ(plugin.contexts.size(), 2u);
    ASSERT_EQ(plugin.clips.size(), 2u);
    EXPECT_EQ(plugin.clips[0].name, "Source");
    ASSERT_EQ(plugin.parameters.size(), 4u);
    EXPECT_EQ(plugin.parameters[0].standard, "1,0");
    EXPECT_EQ(plugin.parameters[0].label, "Gain and Offset");
}

TEST_F(Inspecting, AMissingFileIsNamed) {
    expect(inspectBundle(host, root / "None.ofx.bundle"), InspectOutcome::Missing, "no such file or folder");
}

TEST_F(Inspecting, ATextFileIsNotALibrary) {
    std::ofstream(root / "notes.ofx")
        << "just words, more than sixty-four bytes of them, so that a header would fit in\n";
    std::ofstream(root / "short.ofx") << "x";
    expect(inspectBundle(host, root / "notes.ofx"), InspectOutcome::NotALibrary, "not a shared library");
    expect(inspectBundle(host, root / "short.ofx"), InspectOutcome::NotALibrary, "not a shared library");
}

TEST_F(Inspecting, ABundleForAnotherSystemSaysWhatItHolds) {
    fs::create_directories(root / "Alien.ofx.bundle/Contents/Win64");
    std::ofstream(root / "Alien.ofx.bundle/Contents/Win64/Alien.ofx") << "MZ";
    const InspectReport report = inspectBundle(host, root / "Alien.ofx.bundle");
    expect(report, InspectOutcome::WrongArchitecture, "Win64");
    EXPECT_NE(report.sentence.find(TEST_BUNDLE_ARCH), std::string::npos) << report.sentence;
}

TEST_F(Inspecting, ALibraryForAnotherProcessorSaysWhichOne) {
    const fs::path copy = root / "Other.ofx";
    fs::copy_file(fs::path(TEST_BUNDLES) / "Second.ofx.bundle/Contents" / TEST_BUNDLE_ARCH / "Second.ofx", copy);
    std::fstream file(copy, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(18); // the machine field; 8 is a processor that this program never runs on
    file.put(8);
    file.close();
    expect(inspectBundle(host, copy), InspectOutcome::WrongArchitecture, "another machine (machine 8)");
}

TEST_F(Inspecting, ADamagedLibraryIsNoReasonToFallOver) {
    const fs::path whole = fs::path(TEST_BUNDLES) / "Second.ofx.bundle/Contents" / TEST_BUNDLE_ARCH / "Second.ofx";
    const fs::path copy = root / "Cut.ofx";
    fs::copy_file(whole, copy);
    fs::resize_file(copy, 100);
    expect(inspectBundle(host, copy), InspectOutcome::LoaderRefused, "the loader refuses");
}

TEST_F(Inspecting, ALibraryWithoutEntryPointsIsToldFromABrokenOne) {
    expect(inspectBuilt("NoEntryPoints"), InspectOutcome::NoEntryPoints, "exports no OfxGetNumberOfPlugins");
}

TEST_F(Inspecting, TheLoadersOwnWordsAreShown) {
    const InspectReport report = inspectBuilt("Unresolved");
    expect(report, InspectOutcome::LoaderRefused, "gNowhereDefined");
    EXPECT_NE(report.loaderError.find("undefined symbol"), std::string::npos) << report.loaderError;
}

TEST_F(Inspecting, AFunctionThatIsNowhereIsFoundThoughTheLoaderIsLazy) {
    const InspectReport report = inspectBuilt("UnresolvedFunction");
    expect(report, InspectOutcome::Fine, "loads");
    ASSERT_EQ(report.missingSymbols.size(), 1u);
    EXPECT_NE(report.missingSymbols[0].find("functionThatNobodyDefines"), std::string::npos);
}

TEST_F(Inspecting, ARefusedLoadNamesActionAndStatus) {
    const InspectReport report = inspectBuilt("LoadFails");
    expect(report, InspectOutcome::LoadFailed, "OfxActionLoad answered kOfxStatErrFatal");
    EXPECT_EQ(report.plugins.at(0).loadStatus, "kOfxStatErrFatal");
    EXPECT_EQ(report.plugins.at(0).describeStatus, "not sent");
}

TEST_F(Inspecting, AMissingSuiteIsNamed) {
    expect(inspectBuilt("NeedsSuite"), InspectOutcome::LoadFailed, "OfxDrawSuite 1");
}

TEST_F(Inspecting, ARefusedDescribeNamesActionAndStatus) {
    const InspectReport report = inspectBuilt("DescribeFails");
    expect(report, InspectOutcome::DescribeFailed, "OfxActionDescribe answered kOfxStatErrMissingHostFeature");
    EXPECT_EQ(report.plugins.at(0).loadStatus, "kOfxStatOK");
}

TEST_F(Inspecting, APluginWithoutPixelDepthsIsRefused) {
    expect(inspectBuilt("NoDepths"), InspectOutcome::Unusable, "lists no pixel depth");
}

TEST_F(Inspecting, EveryOutcomeHasAStatusOfItsOwn) {
    const std::set<InspectOutcome> outcomes = {InspectOutcome::Fine,          InspectOutcome::Missing,
                                               InspectOutcome::NotALibrary,   InspectOutcome::WrongArchitecture,
                                               InspectOutcome::LoaderRefused, InspectOutcome::NoEntryPoints,
                                               InspectOutcome::LoadFailed,    InspectOutcome::DescribeFailed,
                                               InspectOutcome::Unusable};
    EXPECT_EQ(outcomes.size(), 9u);
}

} // namespace

} // namespace tarnwell
