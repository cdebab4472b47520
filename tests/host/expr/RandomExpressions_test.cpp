#include "ExpressionWriter.h"
#include "TestScope.h"
#include "support/SameBits.h"
#include <gtest/gtest.h>

namespace {

TEST(RandomExpressions, agreeWithPlainArithmetic) {
    TestScope scope;
    scope.locals = {{"VX", 3.25f}, {"TY", -1.5f}, {"ZERO", 0}, {"AGE", 0.1f}, {"ID", 17}};
    TestScope known; // the same as values, so that everything is folded
    for (const auto& [name, value] : scope.locals) known.values[name] = double(value);
    int numeric = 0;
    for (unsigned seed = 0; seed < 4000; ++seed) {
        const ExpressionWriter::Piece piece = ExpressionWriter(seed, scope.locals).expression(int(1 + seed % 5));
        if (piece.text.size() > EV_MAX_TEXT) continue;
        const Outcome run = evaluate(piece.text, scope), folded = evaluate(piece.text, known);
        ASSERT_EQ(run.error + folded.error, "") << piece.text;
        ASSERT_TRUE(sameBits(run.number, piece.value)) << piece.text << "\n" << run.number << " is not " << piece.value;
        ASSERT_TRUE(sameBits(folded.number, piece.value)) << piece.text;
        numeric += std::isfinite(piece.value) && piece.value != 0 && piece.value != 1 ? 1 : 0;
    }
    EXPECT_GT(numeric, 1000); // most are no mere NaN, 0 or 1
}

} // namespace
