// The text that the plug-in carries: complete, free of what Metal lacks, bound as the renderer binds. That clang
// accepts it as Metal (against a stand-in library) and as OpenCL C is checked beside this by kernel_text_is_metal and
// kernel_text_is_opencl; compiled as C++ it is what the reference device runs.
#include "metal/kernel_source.h"
#include "tests/metal/reference_kernels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace velloid::gpu {
namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << "cannot read " << path;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string withoutComments(const std::string& text) {
    return std::regex_replace(text, std::regex("//[^\n]*"), "");
}

std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
        found.push_back(at->str(at->size() > 1 ? 1 : 0));
    }
    return found;
}

TEST(KernelText, IsTheFileThatTheBuildLeaves) {
    EXPECT_EQ(kernelSource(), readFile(TARNWELL_KERNEL_TEXT));
}

TEST(KernelText, StandsAlone) {
    EXPECT_THAT(matches(kernelSource(), "#include[^\n]*"), testing::ElementsAre("#include <metal_stdlib>"));
    EXPECT_THAT(kernelSource(), testing::Not(testing::HasSubstr("#pragma once")));
}

TEST(KernelText, NamesTheFileOfEveryLine) {
    std::istringstream lines(kernelSource());
    std::map<std::string, std::string> sources;
    std::string line;
    std::string file;
    std::vector<std::string> source;
    std::size_t next = 0;
    int compared = 0;
    while (std::getline(lines, line)) {
        std::smatch mark;
        if (std::regex_match(line, mark, std::regex("#line (\\d+) \"([^\"]+)\""))) {
            file = mark[2];
            next = std::stoul(mark[1]) - 1;
            if (sources.emplace(file, "").second) sources[file] = readFile(TARNWELL_SOURCE_DIR "/" + file);
            std::istringstream of(sources[file]);
            source.clear();
            for (std::string one; std::getline(of, one);)
                source.push_back(one);
            continue;
        }
        ASSERT_LT(next, source.size()) << file;
        if (!line.empty()) {
            ASSERT_EQ(line, source[next]) << file << ":" << next + 1;
            ++compared;
        }
        ++next;
    }
    EXPECT_GT(compared, 500);
    EXPECT_EQ(sources.size(), 19u) << "files of the kernels";
}

TEST(KernelText, KnowsNoDoublePrecision) {
    const std::string code = withoutComments(kernelSource());
    EXPECT_THAT(matches(code, "\\bdouble\\b"), testing::IsEmpty());
    EXPECT_THAT(matches(code, "[^\\w.]\\d+\\.\\d*(?:e[-+]?\\d+)?(?![\\w.])"), testing::IsEmpty())
        << "a number without f";
}

TEST(KernelText, UsesTheFormsThatFastMathCannotTake) {
    const std::string code = withoutComments(kernelSource());
    EXPECT_THAT(matches(code, "\\b(?:isfinite|isnan|isinf)\\b"), testing::IsEmpty());
    EXPECT_THAT(code, testing::HasSubstr("precise::sin"));
    EXPECT_EQ(matches(code, "[^:]\\bsin\\(").size(), 1u) << "the plain sine is OpenCL's word for the precise one, only";
}

// Binding indices of each entry point, read from its declaration.
std::map<std::string, std::vector<unsigned>> boundIn(const std::string& text) {
    std::map<std::string, std::vector<unsigned>> bound;
    const std::regex entry("KERNEL void (k_\\w+)\\(([^{]*)\\) \\{");
    const std::string code = withoutComments(text);
    for (std::sregex_iterator at(code.begin(), code.end(), entry), end; at != end; ++at) {
        const std::string parameters = std::regex_replace(at->str(2), std::regex("\\bFRAME\\b"), "AT(9)");
        std::vector<unsigned>& indices = bound[at->str(1)];
        for (const std::string& index : matches(parameters, "\\b(?:IN|OUT|CELLS|AT)\\((\\d+)")) {
            indices.push_back(static_cast<unsigned>(std::stoul(index)));
        }
    }
    return bound;
}

TEST(KernelText, BindsEveryArgumentAtItsIndex) {
    const auto bound = boundIn(kernelSource());
    EXPECT_EQ(bound.size(), 21u);
    for (const CompiledKernel& kernel : compiledKernels()) {
        const auto found = bound.find(kernel.name);
        ASSERT_NE(found, bound.end()) << kernel.name;
        EXPECT_EQ(found->second, kernel.indices) << kernel.name;
        EXPECT_TRUE(std::is_sorted(found->second.begin(), found->second.end()))
            << kernel.name << ": OpenCL takes the rank of the index as the position";
        EXPECT_EQ(kernel.indices.size(), kernel.valueSizes.size()) << kernel.name;
    }
}

TEST(KernelText, HasEveryKernelThatTheRendererRuns) {
    const auto bound = boundIn(kernelSource());
    const auto run = matches(readFile(TARNWELL_SOURCE_DIR "/metal/frame_encoder.cpp"), "\"(k_\\w+)\"");
    const std::set<std::string> names(run.begin(), run.end());
    EXPECT_GE(names.size(), 20u);
    for (const std::string& name : names)
        EXPECT_TRUE(bound.count(name)) << name;
}

} // namespace
} // namespace velloid::gpu
