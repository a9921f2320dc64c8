// The program as its users meet it: a child process, files, exit statuses, stdout and stderr. Pictures go through the
// second plug-in, whose arithmetic is known: v * gain + offset.
#include "pictures/image_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Answer {
    int status;
    std::string out, err;
};

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << "status " << answer.status << "\nstdout: " << answer.out << "\nstderr: " << answer.err;
}

std::string contentOf(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

class Cli : public testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::path(testing::TempDir()) /
                  (std::string("cli_") + testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "log");
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string at(const std::string& name) const { return (folder_ / name).string(); }

    // Arguments are separated by blanks; {} stands for the test's folder, {second} for the second plug-in.
    Answer tarnwell(std::string arguments) const {
        replaceAll(arguments, "{}", folder_.string());
        replaceAll(arguments, "{second}", TEST_BUNDLES "/Second.ofx.bundle");
        replaceAll(arguments, "{bundles}", TEST_BUNDLES);
        const std::string command = std::string("env -u OCIO " TARNWELL_PROGRAM " ") + arguments + " >" +
                                    at("log/out") + " 2>" + at("log/err") + " </dev/null";
        const int result = std::system(command.c_str());
        return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, contentOf(at("log/out")), contentOf(at("log/err"))};
    }

    void write(const std::string& name, float value = 0.25f, int width = 6, int height = 4) const {
        Picture picture;
        picture.header = OIIO::ImageSpec(width, height, 3, OIIO::TypeDesc::FLOAT);
        picture.channels = {0, 1, 2, -1};
        picture.samples.assign(static_cast<std::size_t>(width * height * 3), value);
        writePicture(at(name), picture, {});
    }

    float firstSample(const std::string& name) const { return readPicture(at(name)).samples[0]; }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_))
            if (entry.is_regular_file()) names.push_back(entry.path().filename().string());
        return names;
    }

private:
    static void replaceAll(std::string& text, const std::string& what, const std::string& by) {
        for (std::size_t place = 0; (place = text.find(what, place)) != std::string::npos; place += by.size())
            text.replace(place, what.size(), by);
    }

    fs::path folder_;
};

TEST_F(Cli, ExplainsItselfOnStdout) {
    const Answer help = tarnwell("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("render"), HasSubstr("Exit status:"), HasSubstr("no input file exists")));
    EXPECT_THAT(tarnwell("--version").out, HasSubstr("tarnwell 7.1"));
}

TEST_F(Cli, RefusesAWrongCommandLine) {
    EXPECT_EQ(tarnwell("").status, 2);
    const Answer wrong = tarnwell("rendre a b");
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.err, HasSubstr("did you mean \"render\"?"));
    EXPECT_EQ(tarnwell("render {}/a.exr {}/b.exr --no-such-option").status, 2);
    EXPECT_THAT(wrong.out, IsEmpty());
}

TEST_F(Cli, TellsWhereTheTimeWent) {
    write("in.exr", 0.25f, 64, 48);
    const Answer own = tarnwell("render {}/in.exr {}/out.####.exr --frames 1-3 --set gateWeave=0.5 --runstats");
    ASSERT_EQ(own.status, 0) << own;
    EXPECT_THAT(own.out, AllOf(HasSubstr("read "), HasSubstr("plug-in "), HasSubstr("  halation "),
                               HasSubstr("  gate weave "), HasSubstr("write "), HasSubstr("3 frames in "),
                               HasSubstr("2 in flight"), HasSubstr("scratch of the effects ")));
    const Answer foreign = tarnwell("render {}/in.exr {}/out.exr --plugin {second} --runstats");
    ASSERT_EQ(foreign.status, 0) << foreign;
    EXPECT_THAT(foreign.out, AllOf(HasSubstr("plug-in "), HasSubstr("1 frame in "), Not(HasSubstr("scratch"))));
}

TEST_F(Cli, RendersAStill) {
    write("in.exr");
    const Answer answer = tarnwell("render {}/in.exr {}/out.exr --plugin {second} --set gainOffset=2,0.125");
    ASSERT_EQ(answer.status, 0) << answer;
    EXPECT_EQ(firstSample("out.exr"), 0.625f);
    EXPECT_THAT(answer.out, IsEmpty());
    EXPECT_THAT(answer.err, AllOf(HasSubstr("colour: "), HasSubstr("gets linear light"), HasSubstr("frame 0 (1/1)")));
    EXPECT_THAT(tarnwell("-q render {}/in.exr {}/out.exr --plugin {second}").err, IsEmpty());
}

TEST_F(Cli, NamesTheNearestParameterAndOption) {
    write("in.exr");
    const Answer key = tarnwell("render {}/in.exr {}/out.exr --plugin {second} --set gainOfset=2,0");
    EXPECT_EQ(key.status, 2);
    EXPECT_THAT(key.err, HasSubstr("gainOffset"));
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.exr --plugin {second} --set invert=perhaps").status, 2);
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.exr --plugin {second} --set invert").status, 2);
    const Answer space = tarnwell("render {}/in.exr {}/out.exr --plugin {second} --from ACEScgg");
    EXPECT_EQ(space.status, 2);
    EXPECT_THAT(space.err, HasSubstr("ACEScg"));
    EXPECT_THAT(files(), testing::UnorderedElementsAre("in.exr"));
}

TEST_F(Cli, TellsWhatIsMissing) {
    write("in.exr");
    EXPECT_EQ(tarnwell("render {}/none.exr {}/out.exr --plugin {second}").status, 4);
    EXPECT_EQ(tarnwell("render {}/none.####.exr {}/out.####.exr --plugin {second}").status, 4);
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.exr --plugin {}/None.ofx.bundle").status, 3);
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.exr --plugin {bundles}/DescribeFails.ofx.bundle").status, 3);
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.nonsense --plugin {second}").status, 2);
}

TEST_F(Cli, RendersASequenceAndResumes) {
    for (const char* name : {"in.-001.exr", "in.0000.exr", "in.0001.exr", "in.0002.exr"})
        write(name);
    const Answer first = tarnwell("render {}/in.####.exr {}/out.%04d.exr --plugin {second} --frames -1-1 --jobs 3");
    ASSERT_EQ(first.status, 0) << first;
    EXPECT_THAT(first.err, AllOf(HasSubstr("frame -1 ("), HasSubstr("(3/3)"), HasSubstr("out.-001.exr")));
    EXPECT_FALSE(fs::exists(at("out.0002.exr")));
    const Answer second =
        tarnwell("render {}/in.####.exr {}/out.####.exr --plugin {second} --skip-existing --set invert=1");
    ASSERT_EQ(second.status, 0) << second;
    EXPECT_EQ(firstSample("out.0001.exr"), 0.25f) << "a frame that existed was rendered again";
    EXPECT_EQ(firstSample("out.0002.exr"), 0.75f);
}

TEST_F(Cli, NeverHidesABadFrame) {
    write("in.0001.exr");
    std::ofstream(at("in.0002.exr")) << "no picture";
    write("in.0003.exr");
    const std::string render = "render {}/in.####.exr {}/out.####.exr --plugin {second} --jobs 1";
    const Answer stopped = tarnwell(render);
    EXPECT_EQ(stopped.status, 1);
    EXPECT_THAT(stopped.err, HasSubstr("in.0002.exr"));
    EXPECT_FALSE(fs::exists(at("out.0003.exr")));
    const Answer wentOn = tarnwell(render + " --skip-bad-frames");
    EXPECT_EQ(wentOn.status, 5);
    EXPECT_TRUE(fs::exists(at("out.0003.exr")));
    EXPECT_FALSE(fs::exists(at("out.0002.exr")));
    EXPECT_EQ(tarnwell(render + " --frames 1,9 --skip-bad-frames").status, 5) << "a listed frame without a file";
    EXPECT_EQ(files().size(), 5u) << "something was left behind";
}

TEST_F(Cli, RendersOneStillAtManyFrames) {
    write("in.exr");
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.###.exr --plugin {second} --frames 1-3").status, 0);
    EXPECT_TRUE(fs::exists(at("out.003.exr")));
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.exr --plugin {second} --frames 1-3").status, 2);
    EXPECT_EQ(tarnwell("render {}/in.exr {}/in.exr --plugin {second}").status, 2);
}

TEST_F(Cli, TakesItsOwnParameterListAsPreset) {
    write("in.exr");
    const Answer listed = tarnwell("params --json --plugin {second} --set gainOffset=3,0");
    ASSERT_EQ(listed.status, 0) << listed;
    std::ofstream(at("preset.json")) << listed.out;
    EXPECT_EQ(nlohmann::json::parse(listed.out)["parameters"]["gainOffset"]["default"], nlohmann::json({1.0, 0.0}));
    ASSERT_EQ(tarnwell("render {}/in.exr {}/a.exr --plugin {second} --preset {}/preset.json").status, 0);
    EXPECT_EQ(firstSample("a.exr"), 0.75f);
    ASSERT_EQ(
        tarnwell("render {}/in.exr {}/a.exr --plugin {second} --preset {}/preset.json --set gainOffset=4,0").status, 0);
    EXPECT_EQ(firstSample("a.exr"), 1.0f);
    std::ofstream(at("bad.json")) << "{\"parameters\": {\"gain\": 1}}";
    EXPECT_EQ(tarnwell("render {}/in.exr {}/a.exr --plugin {second} --preset {}/bad.json").status, 2);
    std::ofstream(at("broken.json")) << "{";
    EXPECT_EQ(tarnwell("render {}/in.exr {}/a.exr --plugin {second} --preset {}/broken.json").status, 2);
}

TEST_F(Cli, PlansWithoutRendering) {
    write("in.exr");
    const Answer plan = tarnwell("render {}/in.exr {}/out.exr --plugin {second} -n --set gainOffset=2,0");
    EXPECT_EQ(plan.status, 0);
    EXPECT_THAT(plan.out, AllOf(HasSubstr("out.exr"), HasSubstr("\"gainOffset\":[2.0,0.0]"), HasSubstr("Second")));
    EXPECT_THAT(files(), testing::UnorderedElementsAre("in.exr"));
}

TEST_F(Cli, ReplacesNothingThatIsToBeKept) {
    write("in.exr");
    write("out.exr", 0.5f);
    EXPECT_EQ(tarnwell("render {}/in.exr {}/out.exr --plugin {second} --no-clobber").status, 1);
    EXPECT_EQ(firstSample("out.exr"), 0.5f);
}

TEST_F(Cli, NotesWhatItDid) {
    write("in.exr");
    ASSERT_EQ(tarnwell("render {}/in.exr {}/a.exr --plugin {second} --set gainOffset=2,0").status, 0);
    const auto noted = readHeader(at("a.exr")).header;
    EXPECT_THAT(std::string(noted.get_string_attribute("Software")), HasSubstr("tarnwell 7.1"));
    EXPECT_THAT(std::string(noted.get_string_attribute("tarnwell:settings")), HasSubstr("\"gainOffset\":[2.0,0.0]"));
    ASSERT_EQ(tarnwell("render {}/in.exr {}/b.exr --plugin {second} --sansattrib").status, 0);
    EXPECT_THAT(std::string(readHeader(at("b.exr")).header.get_string_attribute("tarnwell:settings")), IsEmpty());
}

TEST_F(Cli, ConvertsColourUnlessToldNotTo) {
    write("in.exr", 0.18f);
    ASSERT_EQ(tarnwell("render {}/in.exr {}/a.png --plugin {second} -d uint16").status, 0);
    EXPECT_NEAR(firstSample("a.png"), 0.4613f, 2e-3f);
    ASSERT_EQ(tarnwell("render {}/in.exr {}/b.png --plugin {second} -d uint16 --raw").status, 0);
    EXPECT_NEAR(firstSample("b.png"), 0.18f, 1e-4f);
    ASSERT_EQ(tarnwell("render {}/in.exr {}/c.exr --plugin {second} --to ACEScct/AP1").status, 0);
    EXPECT_NEAR(firstSample("c.exr"), 0.4136f, 1e-3f); // Academy S-2016-001: 18 % grey
    EXPECT_EQ(tarnwell("render {}/in.exr {}/d.exr --plugin {second} --raw --to ACEScg").status, 2);
    ASSERT_EQ(tarnwell("render {}/a.png {}/e.png --plugin {second}").status, 0);
    EXPECT_EQ(firstSample("e.png"), firstSample("a.png")) << "an untouched display picture must come back as it was";
}

TEST_F(Cli, ScalesAProxy) {
    write("in.exr", 0.5f, 8, 4);
    ASSERT_EQ(tarnwell("render {}/in.exr {}/a.exr --plugin {second} --scale 0.5").status, 0);
    const Picture proxy = readPicture(at("a.exr"));
    EXPECT_EQ(proxy.header.width, 4);
    EXPECT_EQ(proxy.header.height, 2);
    EXPECT_NEAR(proxy.samples[0], 0.5f, 1e-6f);
    EXPECT_EQ(tarnwell("render {}/in.exr {}/a.exr --plugin {second} --scale 0").status, 2);
}

TEST_F(Cli, ReportsForRenderFarms) {
    write("in.exr");
    const Answer answer = tarnwell("render {}/in.exr {}/a.exr --plugin {second} --progress openjd");
    EXPECT_THAT(answer.out, AllOf(HasSubstr("openjd_progress: 100.0\n"), HasSubstr("openjd_status: frame 0")));
}

TEST_F(Cli, InspectsWithAStatusForEveryFault) {
    std::ofstream(at("text.ofx")) << "text";
    EXPECT_EQ(tarnwell("inspect {}/none.ofx.bundle").status, 10);
    EXPECT_EQ(tarnwell("inspect {}/text.ofx").status, 11);
    EXPECT_EQ(tarnwell("inspect {bundles}/NoEntryPoints.ofx.bundle").status, 14);
    EXPECT_EQ(tarnwell("inspect {bundles}/DescribeFails.ofx.bundle").status, 16);
    const Answer fine = tarnwell("inspect --json {second}");
    ASSERT_EQ(fine.status, 0) << fine;
    EXPECT_EQ(nlohmann::json::parse(fine.out)["plugins"][0]["label"], "Second");
}

TEST_F(Cli, ComparesPictures) {
    write("a.exr", 0.25f);
    write("b.exr", 0.5f);
    write("c.exr", 0.5f, 3, 3);
    EXPECT_EQ(tarnwell("compare {}/a.exr {}/a.exr").status, 0);
    const Answer apart = tarnwell("compare {}/a.exr {}/b.exr");
    EXPECT_EQ(apart.status, 1);
    EXPECT_THAT(apart.out, HasSubstr("max 0.25 at 0,0 R\nmean 0.25"));
    EXPECT_EQ(tarnwell("compare {}/a.exr {}/b.exr --fail 0.3").status, 0);
    EXPECT_EQ(tarnwell("compare {}/b.exr {}/c.exr").status, 1);
}

} // namespace
} // namespace tarnwell
