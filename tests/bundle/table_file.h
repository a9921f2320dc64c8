// A small output table in a file of its own, gone with the object.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace velloid::test {

class TableFile {
public:
    TableFile(const std::string& name, double gain)
        : path_(std::filesystem::path(testing::TempDir()) / (std::to_string(getpid()) + "-" + name)) {
        write(gain);
    }
    ~TableFile() {
        std::error_code gone;
        std::filesystem::remove(path_, gone);
    }
    TableFile(const TableFile&) = delete;
    TableFile& operator=(const TableFile&) = delete;

    // Every value times `gain`, in place: the inode stays, and so does the length.
    void write(double gain) {
        std::fstream file(path_, std::filesystem::exists(path_) ? std::ios::in | std::ios::out : std::ios::out);
        file << "LUT_3D_SIZE 2\n";
        for (int i = 0; i < 8; ++i) {
            char row[64];
            std::snprintf(row, sizeof row, "%.6f %.6f %.6f\n", gain * (i % 2), gain * (i / 2 % 2), gain * (i / 4));
            file << row;
        }
        EXPECT_TRUE(file.flush()) << path_;
    }

    std::string path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

} // namespace velloid::test
