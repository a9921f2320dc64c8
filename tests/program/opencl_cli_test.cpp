// The program's ways to a GPU, as a child process on the machine's OpenCL runtime.
#include "metal/devices/opencl_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct Answer {
    int status;
    std::string out, err;
};

class OpenClCli : public testing::Test {
protected:
    void SetUp() override {
        if (!velloid::gpu::OpenClHostQueue::create()) GTEST_SKIP() << "no OpenCL runtime with a device on this machine";
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string at(const char* name) const { return (folder_ / name).string(); }

    Answer run(const std::string& environment, const std::string& arguments) const {
        const std::string command = "env -u OCIO " + environment + " " TARNWELL_PROGRAM " " + arguments + " >" +
                                    at("out") + " 2>" + at("err") + " </dev/null";
        const int result = std::system(command.c_str());
        return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, contentOf("out"), contentOf("err")};
    }
    Answer tarnwell(const std::string& arguments) const { return run("", arguments); }

    std::string contentOf(const char* name) const {
        std::ostringstream text;
        text << std::ifstream(at(name)).rdbuf();
        return text.str();
    }

    const fs::path folder_ = fs::path(testing::TempDir()) / ("opencl_cli_" + std::to_string(getpid()));
};

constexpr char OURS[] = " --plugin " TARNWELL_BUNDLE " ";

TEST_F(OpenClCli, RendersOnTheDeviceWhatItRendersOnTheCpu) {
    const std::string picture = TARNWELL_PICTURE;
    const std::string settings = " --scale 0.25 --set gateWeave=0 -d float";
    const Answer cpu = tarnwell("render " + picture + " " + at("cpu.exr") + OURS + settings);
    ASSERT_EQ(cpu.status, 0) << cpu.err;
    const Answer gpu = tarnwell("render " + picture + " " + at("gpu.exr") + OURS + settings + " --device opencl");
    ASSERT_EQ(gpu.status, 0) << gpu.err;
    EXPECT_THAT(gpu.err, HasSubstr("device: "));
    const Answer apart = tarnwell("compare " + at("cpu.exr") + " " + at("gpu.exr") + " --fail 0.001");
    EXPECT_EQ(apart.status, 0) << apart.out;
}

TEST_F(OpenClCli, RefusesADeviceThatIsNotThereOrThatThePluginDoesNotKnow) {
    const std::string files = "render " + std::string(TARNWELL_PICTURE) + " " + at("out.exr");
    const Answer other = tarnwell(files + " --device opencl --plugin " TEST_BUNDLES "/Second.ofx.bundle");
    EXPECT_EQ(other.status, 2);
    EXPECT_THAT(other.err, HasSubstr("does not render with OpenCL"));
    const Answer unknown = tarnwell(files + " --device abacus" + OURS);
    EXPECT_EQ(unknown.status, 2);
    const Answer without = run("OCL_ICD_VENDORS=" + at("no_runtimes_here"), files + " --device opencl" + OURS);
    EXPECT_EQ(without.status, 1);
    EXPECT_THAT(without.err, HasSubstr("no OpenCL device on this machine"));
    EXPECT_FALSE(fs::exists(at("out.exr")));
}

class OpenClParity : public OpenClCli {
protected:
    // Rendered once for the tests that read it.
    const nlohmann::json& parityReport() const {
        static const nlohmann::json report = [this] {
            const Answer answer = tarnwell(std::string("parity --width 64 --height 64 --format json") +
                                           " --time 2 --time-width 64 --time-height 48" + OURS);
            EXPECT_EQ(answer.status, 0) << answer.err;
            return nlohmann::json::parse(answer.out);
        }();
        return report;
    }
};

TEST_F(OpenClParity, TellsHowFarTheGpuIsFromTheCpu) {
    const nlohmann::json& report = parityReport();
    EXPECT_FALSE(report["device"].get<std::string>().empty());
    ASSERT_EQ(report["alike"].size(), 11u + 17u + 1u + 17u) << "effects, encodings, no numbers, stocks";
    for (const auto& row : report["alike"]) {
        EXPECT_LE(row["mean"], row["max"]) << row;
        EXPECT_LE(row["p99.9"], row["max"]) << row;
        EXPECT_GT(row["max"], 0.0) << row << ": float and double never agree to the last bit";
        // On a processor 1e-6 at most; a card's fast functions may be off by more. Where the report gives a reason, it
        // is why this is not enough.
        EXPECT_LE(row["max"], row["reason"] == "" ? 1e-5 : 1e-4) << row;
    }
}

TEST_F(OpenClParity, GivesEveryDeliberateDifferenceALineAndAReason) {
    const nlohmann::json& report = parityReport();
    std::map<std::string, double> largest; // of rows whose name stands once
    for (const auto& row : report["deliberate"]) {
        EXPECT_GE(row["reason"].get<std::string>().size(), 20u) << row;
        largest[row["what"]] = row["max"];
    }
    EXPECT_EQ(largest.size(), report["deliberate"].size()) << "two lines of one name";
    EXPECT_EQ(largest.size(), 8u + 8u + 17u + 1u) << "LogC4, edges, stocks, and the chain with a weave";
    const auto isAbout = [&](const char* what, double least, double most) {
        ASSERT_EQ(largest.count(what), 1u) << what;
        EXPECT_GE(largest[what], least) << what << ": the picture does not reach it";
        EXPECT_LE(largest[what], most) << what;
    };
    for (const char* what : {"bloom", "codes around 0", "detail", "grain", "output table on LogC4 codes",
                             "print looks with a table of codes", "print looks with a table of light"})
        isAbout(what, 1e-6, 1e-4);
    isAbout("alpha of 1e-10, premultiplied", 1e-2, 1.0);
    isAbout("light above the largest float, decoded", 7.0, 8.0); // the code of the largest float, less that of 0
    // A picture on the edge of the largest float: llvmpipe's exponential lands on its other side, and one channel that
    // is cleaned away turns the others' sum to a large negative one.
    const bool llvmpipe = report["device"].get<std::string>().find("llvmpipe") != std::string::npos;
    isAbout("light above the largest float, to encode", 7.0, llvmpipe ? 3.5e38 : 8.5);
    isAbout("grain left of the origin, at scale 0.75", 1e-2, 0.5);
    isAbout("a time before 0, between frames", 1e-5, 1e-2);
    isAbout("bloom wider than 16 pixels", 1e-4, 1e-1);
    isAbout("codes around the breakpoint", 0.0, 1e-6);
    isAbout("gate weave beside a lamp", 1e-5, 2e-2);
    isAbout("whole chain, Portra 400", 0.0, 1e-5);
}

TEST_F(OpenClParity, WritesTheReportAsMarkdownAndFailsAboveALimit) {
    const std::string parity = std::string("parity --width 32 --height 32") + OURS;
    const Answer markdown = tarnwell(parity + "--format markdown --fail 1e-4");
    EXPECT_EQ(markdown.status, 0) << "deliberate differences do not fail: " << markdown.err;
    EXPECT_THAT(markdown.out, testing::Not(HasSubstr("upload"))) << "timed without being asked";
    EXPECT_THAT(markdown.out, HasSubstr("| Different on purpose | encoding | max | 99.9 % | mean | reason |\n"
                                        "|---|---|---|---|---|---|\n"));
    EXPECT_EQ(tarnwell(parity + "--fail 0").status, 1);
    EXPECT_EQ(tarnwell("parity --plugin " TEST_BUNDLES "/Second.ofx.bundle").status, 2);
}

// Where no line of the first list could be told from the difference of bloom's blurs.
TEST_F(OpenClParity, ComparesNoPictureWhoseBloomIsWiderThanOneHalving) {
    EXPECT_EQ(tarnwell(std::string("parity --height 641") + OURS).status, 2);
}

TEST_F(OpenClParity, TimesFramesOnBoth) {
    const nlohmann::json& report = parityReport();
    const auto timing = report["timing"];
    EXPECT_THAT(timing["device"].get<std::string>(), HasSubstr(report["device"].get<std::string>()));
    EXPECT_FALSE(timing["processor"].get<std::string>().empty());
    EXPECT_EQ(timing["frames"], 2);
    EXPECT_EQ(timing["width"], 64);
    EXPECT_EQ(timing["height"], 48);
    for (const char* step : {"gpuFrameMs", "uploadMs", "downloadMs", "cpuFrameMs"})
        EXPECT_GT(timing[step], 0.0) << step;
}

} // namespace
} // namespace tarnwell
