// Text of the row kernels in weave_rows.h; compiled once per instruction set (see rows/text.inl).

constexpr WeaveRows WEAVE_ROWS{};
