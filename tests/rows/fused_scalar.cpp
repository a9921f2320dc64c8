#define ROWS_NAMESPACE rows_fused_scalar
#include "rows/text.inl"
