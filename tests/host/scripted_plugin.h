// A plug-in that lives in the test: its main entry is whatever the test says, and what it was sent is on record.
#pragma once

#include "host/effect.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tarnwell::testing {

using Handler = std::function<OfxStatus(const std::string& action, OfxImageEffectHandle effect,
                                        OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs)>;

// One at a time; while it lives, script().handler is asked first and may answer -1 to leave the action to a plain
// filter with one depth, float, and the clips Source and Output.
class ScriptedPlugin {
public:
    explicit ScriptedPlugin(Handler handler = nullptr);
    ~ScriptedPlugin();

    OfxPlugin* record();
    std::shared_ptr<PluginBinary> binary() const;
    std::vector<std::string> actions() const;

    // The suites, from the host that set itself last.
    static const OfxPropertySuiteV1& properties();
    static const OfxImageEffectSuiteV1& effects();
    static const OfxParameterSuiteV1& parameters();
    static const void* suite(const char* name, int version);
    // Handle of a clip's image, null if refused.
    static OfxPropertySetHandle fetchImage(OfxImageEffectHandle effect, const char* clip, double time);
};

constexpr OfxStatus NOT_HANDLED = -1;

} // namespace tarnwell::testing
