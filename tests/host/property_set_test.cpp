// The rules of property sets, through the suite as a plug-in sees them.
#include "host/property_set.h"

#include "host/status.h"
#include "host/suites.h"

#include <gtest/gtest.h>

namespace tarnwell {

namespace {

constexpr PropertyRow ROWS[] = {
    {"int", PropertyType::Int, 1, 7.0},         {"double", PropertyType::Double, 2, 0.5},
    {"text", PropertyType::String, 1, 0, "so"}, {"pointer", PropertyType::Pointer, 1},
    {"texts", PropertyType::String, 0},         {"ints", PropertyType::Int, 0},
    {"leader", PropertyType::Int, 1},           {"follower", PropertyType::Int, 1, 3.0},
};

class PropertyRules : public ::testing::Test {
protected:
    PropertySet set{ROWS};
    const OfxPropertySuiteV1& suite = propertySuite();
    OfxPropertySetHandle handle = set.handle();
};

TEST_F(PropertyRules, StartWithTheirDefaults) {
    int whole = 0;
    double number = 0.0;
    char* text = nullptr;
    void* pointer = &whole;
    EXPECT_EQ(suite.propGetInt(handle, "int", 0, &whole), kOfxStatOK);
    EXPECT_EQ(suite.propGetDouble(handle, "double", 1, &number), kOfxStatOK);
    EXPECT_EQ(suite.propGetString(handle, "text", 0, &text), kOfxStatOK);
    EXPECT_EQ(suite.propGetPointer(handle, "pointer", 0, &pointer), kOfxStatOK);
    EXPECT_EQ(whole, 7);
    EXPECT_EQ(number, 0.5);
    EXPECT_STREQ(text, "so");
    EXPECT_EQ(pointer, nullptr);
}

TEST_F(PropertyRules, AnswerUnknownToAStrangeName) {
    int whole = 0;
    EXPECT_EQ(suite.propGetInt(handle, "none", 0, &whole), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propSetInt(handle, "none", 0, 1), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propGetDimension(handle, "none", &whole), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propReset(handle, "none"), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propGetInt(handle, nullptr, 0, &whole), kOfxStatErrUnknown);
}

TEST_F(PropertyRules, AnswerUnknownToAnotherType) {
    int whole = 0;
    double number = 0.0;
    EXPECT_EQ(suite.propGetInt(handle, "double", 0, &whole), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propGetDouble(handle, "int", 0, &number), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propSetString(handle, "int", 0, "x"), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propGetIntN(handle, "texts", 1, &whole), kOfxStatErrUnknown);
}

TEST_F(PropertyRules, AnswerBadIndexOutsideOfAFixedDimension) {
    double number = 0.0;
    EXPECT_EQ(suite.propGetDouble(handle, "double", 2, &number), kOfxStatErrBadIndex);
    EXPECT_EQ(suite.propGetDouble(handle, "double", -1, &number), kOfxStatErrBadIndex);
    EXPECT_EQ(suite.propSetDouble(handle, "double", 2, 1.0), kOfxStatErrBadIndex);
    const double three[] = {1.0, 2.0, 3.0};
    EXPECT_EQ(suite.propSetDoubleN(handle, "double", 3, three), kOfxStatErrBadIndex);
}

TEST_F(PropertyRules, AnswerBadHandleToNullForeignAndDeadSets) {
    int whole = 0;
    OfxPropertySetHandle dead;
    {
        PropertySet gone{ROWS};
        dead = gone.handle();
    }
    for (OfxPropertySetHandle bad : {OfxPropertySetHandle{}, reinterpret_cast<OfxPropertySetHandle>(&whole), dead}) {
        EXPECT_EQ(suite.propGetInt(bad, "int", 0, &whole), kOfxStatErrBadHandle);
        EXPECT_EQ(suite.propSetInt(bad, "int", 0, 1), kOfxStatErrBadHandle);
        EXPECT_EQ(suite.propReset(bad, "int"), kOfxStatErrBadHandle);
        EXPECT_EQ(suite.propGetDimension(bad, "int", &whole), kOfxStatErrBadHandle);
    }
}

TEST_F(PropertyRules, RefuseANullText) {
    EXPECT_EQ(suite.propSetString(handle, "text", 0, nullptr), kOfxStatErrValue);
    char* text = nullptr;
    suite.propGetString(handle, "text", 0, &text);
    EXPECT_STREQ(text, "so");
}

TEST_F(PropertyRules, CopyWhatTheyAreGiven) {
    char given[] = "mine";
    suite.propSetString(handle, "text", 0, given);
    given[0] = 'x';
    EXPECT_EQ(set.textAt("text"), "mine");
}

TEST_F(PropertyRules, GrowWhereTheyAreVariable) {
    int count = -1;
    EXPECT_EQ(suite.propGetDimension(handle, "texts", &count), kOfxStatOK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(suite.propSetString(handle, "texts", 0, "a"), kOfxStatOK);
    EXPECT_EQ(suite.propSetString(handle, "texts", 1, "b"), kOfxStatOK);
    EXPECT_EQ(set.texts("texts"), (std::vector<std::string>{"a", "b"}));
    char* text = nullptr;
    EXPECT_EQ(suite.propGetString(handle, "texts", 2, &text), kOfxStatErrBadIndex);
}

TEST_F(PropertyRules, TakeTheLengthOfASetN) {
    const int three[] = {1, 2, 3};
    EXPECT_EQ(suite.propSetIntN(handle, "ints", 3, three), kOfxStatOK);
    EXPECT_EQ(set.dimensionOf("ints"), 3);
    EXPECT_EQ(suite.propSetIntN(handle, "ints", 1, three), kOfxStatOK);
    EXPECT_EQ(set.dimensionOf("ints"), 1);
}

TEST_F(PropertyRules, FillWhatIsThereOnALongGetN) {
    const double two[] = {3.0, 4.0};
    suite.propSetDoubleN(handle, "double", 2, two);
    double values[3] = {-1.0, -1.0, -1.0};
    EXPECT_EQ(suite.propGetDoubleN(handle, "double", 3, values), kOfxStatOK);
    EXPECT_EQ(values[0], 3.0);
    EXPECT_EQ(values[1], 4.0);
    EXPECT_EQ(values[2], -1.0);
}

TEST_F(PropertyRules, ResetToTheFirstValues) {
    suite.propSetInt(handle, "int", 0, 99);
    suite.propSetString(handle, "texts", 0, "a");
    EXPECT_EQ(suite.propReset(handle, "int"), kOfxStatOK);
    EXPECT_EQ(suite.propReset(handle, "texts"), kOfxStatOK);
    EXPECT_EQ(set.intAt("int"), 7);
    EXPECT_EQ(set.dimensionOf("texts"), 0);
}

TEST_F(PropertyRules, LetReadsButNotWritesFallThrough) {
    PropertySet child;
    child.setParent(&set);
    int whole = 0;
    EXPECT_EQ(suite.propGetInt(child.handle(), "int", 0, &whole), kOfxStatOK);
    EXPECT_EQ(whole, 7);
    EXPECT_EQ(suite.propSetInt(child.handle(), "int", 0, 1), kOfxStatErrUnknown);
    EXPECT_EQ(suite.propReset(child.handle(), "int"), kOfxStatErrUnknown);
    EXPECT_EQ(set.intAt("int"), 7);
}

TEST_F(PropertyRules, LetAFollowerTakeOverWhatItsLeaderIsGiven) {
    set.follow("leader", "follower");
    EXPECT_EQ(set.intAt("follower"), 3);
    suite.propSetInt(handle, "leader", 0, 5);
    EXPECT_EQ(set.intAt("follower"), 5);
    suite.propSetInt(handle, "follower", 0, 6);
    EXPECT_EQ(set.intAt("leader"), 5);
}

TEST_F(PropertyRules, KeepACopyApart) {
    PropertySet copy(set);
    EXPECT_NE(copy.handle(), set.handle());
    suite.propSetInt(copy.handle(), "int", 0, 1);
    EXPECT_EQ(set.intAt("int"), 7);
    EXPECT_EQ(copy.intAt("int"), 1);
}

TEST_F(PropertyRules, ThrowTheHostAnErrorThatNamesTheProperty) {
    try {
        set.textAt("none");
        FAIL() << "nothing was thrown";
    } catch (const HostError& error) {
        EXPECT_NE(std::string(error.what()).find("none"), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find("kOfxStatErrUnknown"), std::string::npos) << error.what();
    }
}

} // namespace

} // namespace tarnwell
