// Which sanitizers this program runs under, for the few tests that ask what one of them can't do.
#pragma once

#if !defined(__has_feature)
#define __has_feature(feature) 0 // as in g++, whose builds have none
#endif

namespace velloid::test {

constexpr bool ADDRESS_SANITIZER = __has_feature(address_sanitizer);
constexpr bool THREAD_SANITIZER = __has_feature(thread_sanitizer);
constexpr bool UNDEFINED_SANITIZER = __has_feature(undefined_behavior_sanitizer);

} // namespace velloid::test
