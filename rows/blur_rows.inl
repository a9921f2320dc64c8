// Text of the row kernels in blur_rows.h; compiled once per instruction set (see rows/text.inl).

constexpr BlurRows BLUR_ROWS{};
