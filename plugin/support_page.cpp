// The support button: hands the donation page to the system's own opener, synchronously, whatever comes of it.
#include "plugin/actions.h"
#include "plugin/host.h"
#include "plugin/parameters.h"

#include <cstdlib>

namespace velloid {

namespace {

#if defined(__APPLE__)
constexpr const char* OPEN_PAGE = "/usr/bin/open '" TARNWELL_SUPPORT_URL "'";
#elif defined(_WIN32)
constexpr const char* OPEN_PAGE = "start \"\" \"" TARNWELL_SUPPORT_URL "\"";
#else
constexpr const char* OPEN_PAGE = "xdg-open '" TARNWELL_SUPPORT_URL "'";
#endif

} // namespace

void onInstanceChanged(OfxPropertySetHandle inArgs) {
    if (!inArgs || !gPropSuite.load()) return;
    if (readString(inArgs, kOfxPropName) != SUPPORT_BUTTON) return;
    [[maybe_unused]] const int exitStatus = std::system(OPEN_PAGE);
}

} // namespace velloid
