// Row kernels: Transfer curves and pixel matrices.
#pragma once

namespace velloid {

struct TransferRows {};

} // namespace velloid
