#define ROWS_NAMESPACE rows_avx512
#include "rows/text.inl"
