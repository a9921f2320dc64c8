// Text of the row kernels in lut_rows.h; compiled once per instruction set (see rows/text.inl).

constexpr LutRows LUT_ROWS{};
