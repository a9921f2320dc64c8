// Parameters: defaults, text values as a person writes them, and the suite's variadic calls for every type.
#include "host/parameters.h"

#include "host/property_tables.h"
#include "host/status.h"
#include "host/suites.h"

#include <gtest/gtest.h>

namespace tarnwell {

namespace {

class Parameters : public ::testing::Test {
protected:
    Parameters() { set.accepting = true; }

    Parameter& define(const char* type, const char* key) {
        EXPECT_EQ(suite.paramDefine(set.handle(), type, key, nullptr), kOfxStatOK) << type;
        return set.at(key);
    }

    std::string errorOf(Parameter& parameter, const std::string& written) {
        try {
            parameter.parse(written);
        } catch (const ParameterError& error) {
            return error.what();
        }
        return "";
    }

    PropertySet properties{effectRows()};
    ParameterSet set{properties};
    const OfxParameterSuiteV1& suite = parameterSuite();
};

TEST_F(Parameters, TakeEveryTypeThatThePublicInterfaceGivesValuesTo) {
    for (const char* type : {kOfxParamTypeInteger, kOfxParamTypeInteger2D, kOfxParamTypeInteger3D, kOfxParamTypeDouble,
                             kOfxParamTypeDouble2D, kOfxParamTypeDouble3D, kOfxParamTypeRGB, kOfxParamTypeRGBA,
                             kOfxParamTypeBoolean, kOfxParamTypeChoice, kOfxParamTypeStrChoice, kOfxParamTypeString,
                             kOfxParamTypeCustom, kOfxParamTypeGroup, kOfxParamTypePage, kOfxParamTypePushButton}) {
        const Parameter& parameter = define(type, type);
        EXPECT_EQ(parameter.properties().textAt(kOfxParamPropType), type);
        EXPECT_EQ(parameter.properties().textAt(kOfxPropLabel), type) << "the label starts as the key";
        EXPECT_EQ(parameter.properties().intAt(kOfxParamPropEnabled), 1);
        EXPECT_EQ(parameter.properties().textAt(kOfxParamPropParent), "");
    }
}

TEST_F(Parameters, RefuseUnknownTypesTakenKeysAndLateDefinitions) {
    define(kOfxParamTypeDouble, "one");
    EXPECT_EQ(suite.paramDefine(set.handle(), "OfxParamTypeParametric", "two", nullptr), kOfxStatErrUnsupported);
    EXPECT_EQ(suite.paramDefine(set.handle(), kOfxParamTypeDouble, "one", nullptr), kOfxStatErrExists);
    EXPECT_EQ(suite.paramDefine(nullptr, kOfxParamTypeDouble, "two", nullptr), kOfxStatErrBadHandle);
    set.accepting = false;
    EXPECT_EQ(suite.paramDefine(set.handle(), kOfxParamTypeDouble, "two", nullptr), kOfxStatErrBadHandle);
}

TEST_F(Parameters, FindTheirHandlesByKey) {
    define(kOfxParamTypeDouble, "one");
    OfxParamHandle handle = nullptr;
    OfxPropertySetHandle props = nullptr;
    EXPECT_EQ(suite.paramGetHandle(set.handle(), "one", &handle, &props), kOfxStatOK);
    EXPECT_EQ(handle, set.at("one").handle());
    EXPECT_EQ(props, set.at("one").properties().handle());
    EXPECT_EQ(suite.paramGetHandle(set.handle(), "none", &handle, nullptr), kOfxStatErrUnknown);
    OfxPropertySetHandle whole = nullptr;
    EXPECT_EQ(suite.paramSetGetPropertySet(set.handle(), &whole), kOfxStatOK);
    EXPECT_EQ(whole, properties.handle()) << "the set shares the effect's properties";
}

TEST_F(Parameters, StartAnInstanceAtItsDefault) {
    Parameter& tint = define(kOfxParamTypeRGBA, "tint");
    tint.properties().putDoubles(kOfxParamPropDefault, {0.1, 0.2, 0.3, 0.4});
    Parameter& name = define(kOfxParamTypeString, "name");
    name.properties().putText(kOfxParamPropDefault, "so");
    ParameterSet instances(properties);
    instances.instantiate(set);
    double r = 0, g = 0, b = 0, a = 0;
    EXPECT_EQ(suite.paramGetValueAtTime(instances.at("tint").handle(), 3.5, &r, &g, &b, &a), kOfxStatOK);
    EXPECT_EQ(r, 0.1);
    EXPECT_EQ(g, 0.2);
    EXPECT_EQ(b, 0.3);
    EXPECT_EQ(a, 0.4);
    char* text = nullptr;
    EXPECT_EQ(suite.paramGetValue(instances.at("name").handle(), &text), kOfxStatOK);
    EXPECT_STREQ(text, "so");
    EXPECT_EQ(instances.at("tint").properties().textAt(kOfxPropType), kOfxTypeParameterInstance);
}

TEST_F(Parameters, CarryVariadicValuesOfEveryDimension) {
    int i = 0, j = 0, k = 0;
    double x = 0, y = 0, z = 0;
    char* text = nullptr;
    OfxParamHandle whole = define(kOfxParamTypeInteger3D, "whole").handle();
    EXPECT_EQ(suite.paramSetValue(whole, 1, 2, 3), kOfxStatOK);
    EXPECT_EQ(suite.paramGetValue(whole, &i, &j, &k), kOfxStatOK);
    EXPECT_EQ((std::array{i, j, k}), (std::array{1, 2, 3}));
    OfxParamHandle space = define(kOfxParamTypeDouble3D, "space").handle();
    EXPECT_EQ(suite.paramSetValueAtTime(space, 5.0, 0.25, 0.5, 0.75), kOfxStatOK);
    EXPECT_EQ(suite.paramGetValueAtTime(space, 9.0, &x, &y, &z), kOfxStatOK);
    EXPECT_EQ((std::array{x, y, z}), (std::array{0.25, 0.5, 0.75}));
    OfxParamHandle custom = define(kOfxParamTypeCustom, "custom").handle();
    EXPECT_EQ(suite.paramSetValue(custom, "abc"), kOfxStatOK);
    EXPECT_EQ(suite.paramGetValue(custom, &text), kOfxStatOK);
    EXPECT_STREQ(text, "abc");
    OfxParamHandle button = define(kOfxParamTypePushButton, "button").handle();
    EXPECT_EQ(suite.paramGetValue(button, &i), kOfxStatErrUnsupported);
    EXPECT_EQ(suite.paramGetValue(nullptr, &i), kOfxStatErrBadHandle);
}

TEST_F(Parameters, KeepATextAliveThatWasHandedOut) {
    OfxParamHandle name = define(kOfxParamTypeString, "name").handle();
    char* first = nullptr;
    suite.paramSetValue(name, "first");
    suite.paramGetValue(name, &first);
    suite.paramSetValue(name, "second");
    EXPECT_STREQ(first, "first");
}

TEST_F(Parameters, HaveNoKeys) {
    OfxParamHandle one = define(kOfxParamTypeDouble, "one").handle();
    unsigned int count = 9;
    int index = 9;
    double time = 0.0, value = -1.0;
    EXPECT_EQ(suite.paramGetNumKeys(one, &count), kOfxStatOK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(suite.paramGetKeyTime(one, 0, &time), kOfxStatErrBadIndex);
    EXPECT_EQ(suite.paramGetKeyIndex(one, 1.0, 0, &index), kOfxStatFailed);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(suite.paramDeleteAllKeys(one), kOfxStatOK);
    suite.paramSetValue(one, 2.0);
    EXPECT_EQ(suite.paramGetDerivative(one, 1.0, &value), kOfxStatOK);
    EXPECT_EQ(value, 0.0);
    EXPECT_EQ(suite.paramGetIntegral(one, 1.0, 4.0, &value), kOfxStatOK);
    EXPECT_EQ(value, 6.0);
}

TEST_F(Parameters, CopyAmongTheirKind) {
    Parameter& a = define(kOfxParamTypeDouble2D, "a");
    Parameter& b = define(kOfxParamTypeDouble2D, "b");
    Parameter& c = define(kOfxParamTypeDouble, "c");
    a.setDoubles({1.5, 2.5});
    EXPECT_EQ(suite.paramCopy(b.handle(), a.handle(), 0.0, nullptr), kOfxStatOK);
    EXPECT_EQ(b.written(), "1.5,2.5");
    EXPECT_EQ(suite.paramCopy(c.handle(), a.handle(), 0.0, nullptr), kOfxStatErrBadHandle);
}

TEST_F(Parameters, ReadNumbersAsWritten) {
    Parameter& pair = define(kOfxParamTypeDouble2D, "pair");
    pair.parse("1.25, -3e-2");
    EXPECT_EQ(pair.doubles()[0], 1.25);
    EXPECT_EQ(pair.doubles()[1], -0.03);
    pair.parse("4 5");
    EXPECT_EQ(pair.written(), "4,5");
    EXPECT_NE(errorOf(pair, "1"), "");
    EXPECT_NE(errorOf(pair, "1,two"), "");
    EXPECT_NE(errorOf(pair, "1,nan"), "");
    Parameter& whole = define(kOfxParamTypeInteger, "whole");
    EXPECT_NE(errorOf(whole, "1.5"), "");
    whole.parse("-3");
    EXPECT_EQ(whole.ints()[0], -3);
}

TEST_F(Parameters, InsistOnTheirBounds) {
    Parameter& one = define(kOfxParamTypeDouble, "one");
    one.properties().putDouble(kOfxParamPropMin, 0.0);
    one.properties().putDouble(kOfxParamPropMax, 2.0);
    one.parse("2");
    EXPECT_EQ(errorOf(one, "2.5"), "one: 2.5 lies outside 0 to 2");
    EXPECT_EQ(one.doubles()[0], 2.0);
}

TEST_F(Parameters, LetADisplayBoundFollowItsBound) {
    Parameter& one = define(kOfxParamTypeDouble, "one");
    propertySuite().propSetDouble(one.properties().handle(), kOfxParamPropMax, 0, 3.0);
    EXPECT_EQ(one.properties().doubleAt(kOfxParamPropDisplayMax), 3.0);
}

TEST_F(Parameters, ReadBooleansAsWritten) {
    Parameter& flag = define(kOfxParamTypeBoolean, "flag");
    for (const char* yes : {"true", "On", "YES", "1"}) {
        flag.parse("0");
        flag.parse(yes);
        EXPECT_EQ(flag.written(), "true") << yes;
    }
    EXPECT_EQ(errorOf(flag, "maybe"), "flag: \"maybe\" is neither true nor false");
}

TEST_F(Parameters, ReadChoicesByLabelBeginningOrIndex) {
    Parameter& look = define(kOfxParamTypeChoice, "look");
    look.properties().putTexts(kOfxParamPropChoiceOption, {"None", "Amber 5219", "Amber 5213", "2", "Blue"});
    const std::pair<const char*, int> cases[] = {{"Amber 5213", 2}, {"amber 5219", 1}, {"bl", 4},
                                                 {"2", 3},          {"0", 0},          {"1", 1}};
    for (const auto& [written, index] : cases) {
        look.parse(written);
        EXPECT_EQ(look.ints()[0], index) << written;
    }
    EXPECT_EQ(look.written(), "Amber 5219");
    EXPECT_NE(errorOf(look, "amber").find("no option"), std::string::npos) << "two options begin so";
    EXPECT_NE(errorOf(look, "Blu2").find("did you mean \"Blue\""), std::string::npos) << errorOf(look, "Blu2");
    EXPECT_NE(errorOf(look, "7"), "");
    EXPECT_NE(errorOf(look, ""), "");
}

TEST_F(Parameters, ReadStringChoicesByStoredTextOrLabel) {
    Parameter& pick = define(kOfxParamTypeStrChoice, "pick");
    pick.properties().putTexts(kOfxParamPropChoiceOption, {"Shown A", "Shown B"});
    pick.properties().putTexts(kOfxParamPropChoiceEnum, {"stored-a", "stored-b"});
    pick.parse("Shown B");
    EXPECT_STREQ(pick.text(), "stored-b");
    pick.parse("stored-a");
    EXPECT_STREQ(pick.text(), "stored-a");
}

TEST_F(Parameters, NameTheNearestKey) {
    define(kOfxParamTypeDouble, "grainAmount");
    define(kOfxParamTypeDouble, "bloom");
    try {
        set.at("grainAmout");
        FAIL() << "nothing was thrown";
    } catch (const ParameterError& error) {
        EXPECT_STREQ(error.what(), "no parameter \"grainAmout\" (did you mean \"grainAmount\"?)");
    }
    EXPECT_THROW(set.at("zzzzzzzzzz"), ParameterError);
}

} // namespace

} // namespace tarnwell
