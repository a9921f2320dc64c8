// The table of suites and the host descriptor; a plug-in reads both before and while it describes itself.
#include "host/host.h"

#include "host/property_tables.h"
#include "host/suite_call.h"
#include "host/suites.h"

#include <string_view>

namespace tarnwell {

namespace {

struct SuiteRow {
    const char* name;
    int version;
    const void* (*suite)();
};

template <const auto& (*suite)()>
const void* erased() {
    return &suite();
}

// clang-format off
constexpr SuiteRow SUITE_ROWS[] = {
    {kOfxPropertySuite,    1, erased<propertySuite>},
    {kOfxParameterSuite,   1, erased<parameterSuite>},
    {kOfxImageEffectSuite, 1, erased<effectSuite>},
    {kOfxMemorySuite,      1, erased<memorySuite>},
    {kOfxMultiThreadSuite, 1, erased<multiThreadSuite>},
    {kOfxMessageSuite,     1, erased<messageSuiteV1>},
    {kOfxMessageSuite,     2, erased<messageSuiteV2>},
    {kOfxProgressSuite,    1, erased<progressSuiteV1>},
    {kOfxProgressSuite,    2, erased<progressSuiteV2>},
    {kOfxTimeLineSuite,    1, erased<timeLineSuite>},
};
// clang-format on

// The set that a host record shows, which knows its host.
struct HostDescriptor : PropertySet {
    explicit HostDescriptor(Host& owner) : PropertySet(hostRows()), host(owner) {}
    Host& host;
};

const void* fetchSuite(OfxPropertySetHandle handle, const char* name, int version) {
    const Fault fault = faultAt("fetchSuite", name);
    if (fault.kind != Fault::Kind::None) return nullptr;
    auto* descriptor = dynamic_cast<HostDescriptor*>(PropertySet::of(handle));
    return descriptor != nullptr && name != nullptr ? descriptor->host.suite(name, version) : nullptr;
}

} // namespace

const void* suiteNamed(const char* name, int version) {
    for (const SuiteRow& row : SUITE_ROWS)
        if (std::string_view(name) == row.name && version == row.version) return row.suite();
    return nullptr;
}

Host::Host(const HostOptions& options)
    : options_(options),
      descriptor_(std::make_unique<HostDescriptor>(*this)), record_{descriptor_->handle(), fetchSuite} {
    PropertySet& set = *descriptor_;
    set.putInts(kOfxPropAPIVersion, {1, 5});
    set.putText(kOfxPropName, options.name);
    set.putText(kOfxPropLabel, options.label);
    set.putInts(kOfxPropVersion, {1, 0, 0});
    set.putText(kOfxPropVersionLabel, "1.0");
    set.putTexts(kOfxImageEffectPropSupportedContexts, {kOfxImageEffectContextFilter, kOfxImageEffectContextGeneral});
    set.putTexts(kOfxImageEffectPropSupportedComponents,
                 {kOfxImageComponentRGBA, kOfxImageComponentRGB, kOfxImageComponentAlpha});
    set.putTexts(kOfxImageEffectPropSupportedPixelDepths,
                 {kOfxBitDepthFloat, kOfxBitDepthHalf, kOfxBitDepthShort, kOfxBitDepthByte});
    set.putInt(kOfxImageEffectPropSupportsMultiResolution, 1);
    set.putInt(kOfxImageEffectPropSupportsTiles, 1);
    set.putText(kOfxImageEffectPropOpenCLRenderSupported, options.openCl ? "true" : "false");
    set.putText(kOfxImageEffectPropMetalRenderSupported, options.metal ? "true" : "false");
    if (options.adjust) options.adjust(set);
}

const void* Host::suite(const char* name, int version) {
    const auto replaced = options_.suites.find({name, version});
    const void* suite = replaced != options_.suites.end() ? replaced->second : suiteNamed(name, version);
    if (suite == nullptr) {
        const std::lock_guard lock(missedMutex_);
        missedSuites_.push_back(std::string(name) + " " + std::to_string(version));
    }
    return suite;
}

std::vector<std::string> Host::takeMissedSuites() {
    const std::lock_guard lock(missedMutex_);
    return std::exchange(missedSuites_, {});
}

} // namespace tarnwell
