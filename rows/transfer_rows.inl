// Text of the row kernels in transfer_rows.h; compiled once per instruction set (see rows/text.inl).

constexpr TransferRows TRANSFER_ROWS{};
