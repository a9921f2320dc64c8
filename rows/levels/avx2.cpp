#define ROWS_NAMESPACE rows_avx2
#include "rows/text.inl"
