// Finding bundles, and keeping the good ones when one is bad.
#include "host/bundle.h"
#include "host/catalog.h"
#include "host/status.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

class Folders : public ::testing::Test {
protected:
    Folders() : root(fs::path(::testing::TempDir()) / ("tarnwell-discovery-" + std::to_string(::getpid()))) {
        fs::remove_all(root);
        fs::create_directories(root);
    }
    ~Folders() override { fs::remove_all(root); }

    fs::path copyBundle(const std::string& name, const fs::path& to) {
        fs::create_directories(root / to);
        const fs::path bundle = root / to / (name + ".ofx.bundle");
        fs::copy(fs::path(TEST_BUNDLES) / (name + ".ofx.bundle"), bundle, fs::copy_options::recursive);
        return bundle;
    }

    fs::path root;
    Host host;
};

TEST_F(Folders, AreSearchedRecursivelyButNotBehindAnAtSign) {
    const fs::path deep = copyBundle("Second", "a/b/c");
    const fs::path shallow = copyBundle("Several", ".").lexically_normal();
    copyBundle("Second", "@hidden");
    std::vector<fs::path> found = findBundles(root);
    for (fs::path& bundle : found)
        bundle = bundle.lexically_normal();
    EXPECT_EQ(found, (std::vector<fs::path>{shallow, deep.lexically_normal()}));
    EXPECT_TRUE(findBundles(root / "none").empty());
}

TEST_F(Folders, NameTheLibraryAndTheBundleOfEachOther) {
    const fs::path bundle = copyBundle("Second", ".");
    const fs::path library = libraryOfBundle(bundle);
    EXPECT_EQ(library.filename(), "Second.ofx");
    EXPECT_EQ(bundleOfLibrary(library), bundle);
    EXPECT_EQ(libraryOfBundle(library), library) << "a file is its own library";
    EXPECT_EQ(libraryOfBundle(bundle.string() + "/"), library);
    EXPECT_TRUE(libraryOfBundle(root).empty());
}

TEST_F(Folders, OfTheVariableComeFirstInOrder) {
    ASSERT_EQ(setenv("OFX_PLUGIN_PATH", "/first:/second;/third::", 1), 0);
    const std::vector<fs::path> folders = searchFolders();
    unsetenv("OFX_PLUGIN_PATH");
    ASSERT_GE(folders.size(), 4u);
    EXPECT_EQ(folders[0], "/first");
    EXPECT_EQ(folders[1], "/second");
    EXPECT_EQ(folders[2], "/third");
    EXPECT_NE(std::find(folders.begin() + 3, folders.end(), "/usr/OFX/Plugins"), folders.end());
}

TEST_F(Folders, GiveTheirPluginsInSpiteOfBadBundles) {
    copyBundle("Second", "x");
    copyBundle("NoEntryPoints", "x");
    copyBundle("Unresolved", "x");
    fs::create_directories(root / "Empty.ofx.bundle");
    Catalog catalog;
    catalog.addFolder(host, root);
    ASSERT_EQ(catalog.plugins().size(), 1u);
    EXPECT_EQ(catalog.plugins()[0].identifier(), "tests:second");
    EXPECT_EQ(catalog.badBundles().size(), 3u);
    for (const BadBundle& bad : catalog.badBundles())
        EXPECT_FALSE(bad.reason.empty()) << bad.bundle;
}

TEST_F(Folders, GiveEveryPluginAndVersionOfABinary) {
    Catalog catalog;
    catalog.addBundle(host, copyBundle("Several", "."));
    EXPECT_EQ(catalog.plugins().size(), 4u) << "a record of another interface is left out";
    EXPECT_EQ(catalog.find("tests:odd").plugin->pluginVersionMajor, 2u) << "the highest version";
    EXPECT_EQ(catalog.find("tests:odd:1").plugin->pluginVersionMinor, 10u) << "10 is above 9";
    EXPECT_EQ(catalog.find("tests:odd:1.9").plugin->pluginVersionMinor, 9u);
    try {
        catalog.find("tests:othr");
        FAIL() << "nothing was thrown";
    } catch (const HostError& error) {
        EXPECT_STREQ(error.what(), "no plug-in \"tests:othr\" (did you mean \"tests:other\"?)");
    }
}

} // namespace

} // namespace tarnwell
