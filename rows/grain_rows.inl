// Text of the row kernels in grain_rows.h; compiled once per instruction set (see rows/text.inl).

constexpr GrainRows GRAIN_ROWS{};
