#define ROWS_NAMESPACE rows_baseline
#include "rows/text.inl"
