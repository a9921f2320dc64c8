// What the colour tests share: a loop over every encoding.
#pragma once

#include "color/colorspace.h"

#include <gtest/gtest.h>

namespace tarnwell::test {

template <class Check>
void forEverySpace(Check check) {
    for (int i = 0; i < velloid::IO_SPACE_COUNT; ++i) {
        const auto space = static_cast<velloid::IOSpace>(i);
        SCOPED_TRACE(velloid::ioSpaceLabel(space));
        check(space);
    }
}

} // namespace tarnwell::test
