#pragma once

namespace qormin::sim {

// Fault injection: an answer that ends after its first `tokens` tokens, either with the
// connection closed or with the server falling silent (until the client cancels or the hang
// limit runs out).
struct AnswerCut {
    enum class Kind { Drop, Stall };
    Kind kind = Kind::Drop;
    int tokens = 0;
};

} // namespace qormin::sim
