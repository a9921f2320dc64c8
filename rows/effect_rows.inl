// Text of the row kernels in effect_rows.h; compiled once per instruction set (see rows/text.inl).

constexpr EffectRows EFFECT_ROWS{};
