#ifdef __x86_64__ // not in another slice of a universal build
#define ROWS_NAMESPACE rows_avx512
#include "rows/text.inl"
#endif
