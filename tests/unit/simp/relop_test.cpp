// Comparisons: what they become, and the conditions under which a rule must keep off.
#include "simp/rules.h"
#include "simp_fixture.h"

#include <cstring>

namespace {

class Comparison : public Simplify {
  protected:
    void SetUp() override {
        Simplify::SetUp();
        for (const char* id : {"x", "y", "z"}) ints.push_back(symbol(id, int_type));
        u = symbol("u", uint_type);
        c = symbol("c", char_type);
        uc = symbol("uc", integers[1]);
        d = symbol("d", double_type);
    }
    NODE* x() { return name(ints[0]); }
    NODE* y() { return name(ints[1]); }
    NODE* z() { return name(ints[2]); }
    NODE* op(int opcode, NODE* a, NODE* b) { return maketree(opcode, a, b, int_type); }
    NODE* exact(int opcode, NODE* a, NODE* b) {
        NODE* tree = op(opcode, a, b);
        tree->flags |= NODE_NO_WRAP;
        return tree;
    }
    NODE* step(int opcode, NODE* lvalue) { return maketree(opcode, lvalue, icon(1), lvalue->type); }
    NODE* to(TYPE* type, NODE* tree) { return maketree(SCONV, tree, nullptr, type); }
    NODE* big(long long value) { return constant(value, integers[4]); }
    NODE* nat(long long value) { return constant(value, uint_type); }
    // How often a comparison's rule was used so far.
    static uint64_t used(const char* rule) {
        for (const RULE_SET* set = RULE_SET::first(); set != nullptr; set = set->next())
            for (size_t i = 0; i < set->size(); i++)
                if (strncmp(set->name(), "relop", 5) == 0 && strcmp(set->rule(i).name, rule) == 0)
                    return set->rule(i).fired;
        ADD_FAILURE() << "no rule " << rule;
        return 0;
    }
    static constexpr int int_max = INT32_MAX, int_min = INT32_MIN;

    std::vector<SYMTAB*> ints;
    SYMTAB *u, *c, *uc, *d;
};

TEST_F(Comparison, AProductIsDividedByItsFactor) {
    auto twice = [&] { return exact(MULT, x(), icon(2)); };
    EXPECT_EQ(simplified(op(LT, twice(), icon(7))), "<=(x 3)");
    EXPECT_EQ(simplified(op(GE, twice(), icon(-7))), ">=(x -3)");
    EXPECT_EQ(simplified(op(LE, twice(), icon(-7))), "<=(x -4)");
    EXPECT_EQ(simplified(op(LT, exact(MULT, x(), icon(-2)), icon(7))), ">=(x -3)");
    EXPECT_EQ(simplified(op(EQ, twice(), icon(8))), "==(x 4)");
    EXPECT_EQ(simplified(op(GT, exact(MULT, x(), icon(-6)), icon(0))), "<(x 0)");
    EXPECT_EQ(simplified(op(EQ, exact(MULT, x(), icon(6)), icon(8))).find("==(x "), std::string::npos);
    // A product that may wrap tells nothing of its factor, but an odd factor keeps zero.
    NODE* wraps = op(LT, op(MULT, x(), icon(6)), icon(7));
    EXPECT_NE(simplified(wraps).find("6"), std::string::npos);
    EXPECT_EQ(simplified(op(NEQ, op(MULT, x(), icon(3)), icon(0))), "!=(x 0)");
}

TEST_F(Comparison, AQuotientIsMultipliedOut) {
    EXPECT_EQ(simplified(op(GE, op(DIV, x(), icon(5)), icon(3))), ">=(x 15)");
    EXPECT_EQ(simplified(op(GT, op(DIV, x(), icon(5)), icon(0))), ">=(x 5)");
    EXPECT_EQ(simplified(op(LE, op(DIV, x(), icon(5)), icon(3))), "<(x 20)");
    // -4 / 5 is 0 as well.
    EXPECT_EQ(simplified(op(GE, op(DIV, x(), icon(5)), icon(0))), ">=(/(x 5) 0)");
    EXPECT_EQ(simplified(op(LT, op(SRL, x(), icon(3)), icon(-2))), "<(x -16)");
    NODE* wide = op(GT, op(SRL, x(), icon(3)), icon(int_max >> 3));
    EXPECT_EQ(simplified(wide), "0");
    NODE* rounded = maketree(MULT, maketree(DIV, name(u), nat(10), uint_type), nat(10), uint_type);
    EXPECT_EQ(simplified(op(ULE, rounded, name(u))), "1");
    // 6 divides the product of a multiple of 6, if it does not wrap
    auto product = [&](int c) {
        return exact(MULT, exact(PLUS, exact(MULT, x(), icon(6)), icon(c)), exact(PLUS, y(), z()));
    };
    uint64_t before = used("exact_quotient");
    EXPECT_EQ(simplified(op(EQ, op(DIV, product(12), icon(6)), icon(3))), "==(*(+(*(x 6) 12) +(y z)) 18)");
    EXPECT_EQ(used("exact_quotient"), before + 1);
    EXPECT_NE(simplified(op(EQ, op(DIV, product(9), icon(6)), icon(3))).find("/("), std::string::npos);
}

TEST_F(Comparison, AValueRoundedOrDividedAgainstItself) {
    auto rounded = [&] { return op(MULT, op(DIV, x(), icon(10)), icon(10)); };
    EXPECT_EQ(simplified(op(LT, rounded(), x())), ">(%(x 10) 0)");
    EXPECT_EQ(simplified(op(EQ, x(), rounded())), "==(%(x 10) 0)");
    EXPECT_EQ(simplified(op(LE, rounded(), exact(PLUS, x(), icon(9)))), "1");
    EXPECT_EQ(simplified(op(GT, rounded(), exact(PLUS, x(), icon(-4)))), "<(%(x 10) 4)");
    EXPECT_NE(simplified(op(LE, rounded(), op(PLUS, x(), icon(9)))), "1"); // the sum may wrap
    EXPECT_EQ(simplified(op(LE, op(ANDB, x(), icon(-16)), x())), "1");
    // (x + 3) / 4 and x meet at 0 and 1
    auto quarter = [&] { return op(DIV, exact(PLUS, x(), icon(3)), icon(4)); };
    EXPECT_EQ(simplified(op(LT, quarter(), x())), ">(x 1)");
    EXPECT_EQ(simplified(op(LE, x(), quarter())), "<=(x 1)");
    EXPECT_EQ(simplified(op(GT, quarter(), x())), "<=(x -1)"); // -2 if it were rounded down
    EXPECT_EQ(simplified(op(EQ, maketree(SRL, name(u), icon(1), uint_type), name(u))), "==(u 0)");
}

TEST_F(Comparison, TheLimitsOfTheTypeDecide) {
    EXPECT_EQ(simplified(op(LT, x(), icon(int_min))), "0");
    EXPECT_EQ(simplified(op(LE, x(), icon(int_max))), "1");
    EXPECT_EQ(simplified(op(LT, to(integers[4], x()), big(int_max + 1LL))), "1");
    EXPECT_EQ(simplified(op(LT, x(), icon(int_max))), "<(x 2147483647)");
    EXPECT_EQ(simplified(op(UGE, name(u), nat(0))), "1");
    EXPECT_EQ(simplified(op(UGT, name(u), nat(0))), "!=(u 0)");
    EXPECT_EQ(simplified(op(LT, x(), icon(1))), "<=(x 0)");
    NODE* effect = op(UGE, call(), nat(0));
    EXPECT_EQ(simplified(effect), ",OP(UCALL(U&(_f)) 1)");
}

TEST_F(Comparison, AConversionGoesWhereItKeepsTheValue) {
    EXPECT_EQ(simplified(op(EQ, to(int_type, name(uc)), icon(70000))), "0");
    EXPECT_EQ(simplified(op(NEQ, to(int_type, name(uc)), icon(-1))), "1");
    EXPECT_EQ(simplified(op(LT, to(int_type, name(uc)), icon(300))), "u<(uc 300)");
    EXPECT_EQ(simplified(op(LT, to(int_type, name(c)), icon(-40000))), "0");
    EXPECT_EQ(simplified(op(LT, to(int_type, name(c)), icon(-300))), "<(c -300)");
    // As unsigned numbers, the negative characters lie at the top.
    EXPECT_EQ(simplified(op(ULT, to(uint_type, name(c)), nat(100000))), ">=(c 0)");
    EXPECT_EQ(simplified(op(EQ, to(uint_type, x()), nat(4294967295))), "==(x -1)");
    EXPECT_EQ(simplified(op(LT, to(integers[4], name(u)), to(integers[4], name(u)))), "0");
    EXPECT_EQ(simplified(op(LT, to(integers[4], x()), to(integers[4], y()))), "<(x y)");
    // An int and an unsigned are not one type: the comparison needs the wider.
    EXPECT_NE(simplified(op(LT, to(integers[4], x()), to(integers[4], name(u)))).find("SCONV"), std::string::npos);
    // A masked value is the same as a signed number.
    auto nibble = [&] { return maketree(ANDB, name(u), nat(15), uint_type); };
    EXPECT_EQ(simplified(op(LT, to(int_type, nibble()), op(ANDB, x(), icon(31)))).find("SCONV"), std::string::npos);
    EXPECT_EQ(simplified(op(UGT, maketree(PLUS, nibble(), nat(4), uint_type), nat(10))), "u>(&(u 15) 6)");
    EXPECT_EQ(simplified(op(UGT, maketree(PLUS, nibble(), nat(-4), uint_type), nat(11))), "==(&(u 12) 0)");
    EXPECT_EQ(simplified(op(ULE, maketree(PLUS, name(u), nat(-7), uint_type), nat(3))), "u<=(+(u 4294967289) 3)");
    // Narrowing loses bits.
    EXPECT_NE(simplified(op(EQ, to(char_type, x()), icon(5))).find("SCONV"), std::string::npos);
}

TEST_F(Comparison, ConstantsAndCommonTermsMoveOut) {
    EXPECT_EQ(simplified(op(EQ, op(PLUS, x(), icon(5)), icon(int_min))), "==(x 2147483643)");
    EXPECT_EQ(simplified(op(NEQ, op(MINUS, icon(5), x()), icon(7))), "!=(x -2)");
    EXPECT_EQ(simplified(op(LT, exact(MINUS, x(), y()), icon(0))), "<(x y)");
    EXPECT_NE(simplified(op(LT, op(MINUS, x(), y()), icon(0))), "<(x y)");
    EXPECT_EQ(simplified(op(EQ, op(MINUS, x(), y()), icon(0))), "==(x y)");
    EXPECT_EQ(simplified(op(LT, exact(PLUS, x(), icon(3)), exact(PLUS, y(), icon(5)))), "<(x +(y 2))");
    EXPECT_EQ(simplified(op(LT, exact(PLUS, x(), icon(5)), exact(PLUS, y(), icon(5)))), "<(x y)");
    EXPECT_EQ(simplified(op(EQ, op(PLUS, x(), y()), op(PLUS, z(), x()))), "==(y z)");
    EXPECT_EQ(simplified(op(GT, exact(PLUS, x(), y()), x())), ">(y 0)");
    // x + y may wrap
    EXPECT_NE(simplified(op(GT, op(PLUS, x(), y()), x())), ">(y 0)");
}

TEST_F(Comparison, CongruentAndComplementaryOperands) {
    EXPECT_EQ(simplified(op(LE, x(), x())), "1");
    EXPECT_EQ(simplified(op(LT, x(), x())), "0");
    EXPECT_EQ(simplified(op(EQ, name(d), name(d))), "==(d d)"); // not true of NaN
    uint64_t before = used("complement");
    EXPECT_EQ(simplified(op(EQ, op(EQ, x(), icon(0)), x())), "0");
    EXPECT_EQ(simplified(op(NEQ, op(LT, x(), y()), op(GE, x(), y()))), "1");
    EXPECT_EQ(used("complement"), before + 2);
    NODE* steps = op(LE, step(PLUSPLUS, x()), step(PLUSPLUS, x()));
    EXPECT_NE(simplified(steps), "1");
}

TEST_F(Comparison, TruthOfTruthValues) {
    auto less = [&] { return op(LT, x(), y()); };
    EXPECT_EQ(simplified(op(EQ, less(), icon(0))), ">=(x y)");
    EXPECT_EQ(simplified(op(EQ, less(), icon(1))), "<(x y)");
    EXPECT_EQ(simplified(op(NEQ, less(), icon(1))), ">=(x y)");
    EXPECT_EQ(simplified(op(EQ, less(), icon(2))), "0");
    // The opposite of an ordering of floats is no ordering.
    EXPECT_EQ(simplified(op(EQ, op(LT, name(d), name(d)), icon(0))), "==(<(d d) 0)");
    EXPECT_EQ(simplified(op(EQ, op(ANDB, x(), icon(8)), icon(8))), "!=(&(x 8) 0)");
    EXPECT_EQ(simplified(op(EQ, op(ANDB, x(), icon(8)), icon(4))), "0");
    EXPECT_EQ(simplified(op(LT, op(ORB, x(), icon(int_min)), icon(0))), "1");
}

TEST_F(Comparison, IncrementsComeFirst) {
    EXPECT_EQ(simplified(op(EQ, step(PLUSPLUS, x()), icon(int_max))), "==(=(x +(x 1)) -2147483648)");
    EXPECT_NE(simplified(op(LT, step(PLUSPLUS, x()), icon(9))).find("++"), std::string::npos); // it may wrap
    NODE* counted = step(PLUSPLUS, x());
    counted->flags |= NODE_NO_WRAP;
    EXPECT_EQ(simplified(op(LT, counted, icon(9))), "<=(=(x +(x 1)) 9)");
    SYMTAB* p = symbol("p", tp->mk_ptr(int_type));
    NODE* moved = maketree(MINMIN, name(p), icon(2), p->type);
    EXPECT_EQ(simplified(op(NEQ, moved, address(name(ints[1])))), "!=(=(p +(p -2)) +(U&(y) -2))");
}

TEST_F(Comparison, ASaturatedDifferenceHasTheSignOfTheDifference) {
    NODE* ssub = mk_ICALL("_ssub", maketree(COMMA, x(), y(), int_type), int_type);
    EXPECT_EQ(simplified(op(LT, ssub, icon(0))), "<(x y)");
    uint64_t converted = used("low_half_difference"), shifted = used("shifted_difference");
    // Of a difference of two halves only the low one is asked for.
    auto halves = [&] { return mk_ICALL("_ssub2", maketree(COMMA, x(), y(), int_type), int_type); };
    for (NODE* low : {to(char_type, halves()), op(SLL, halves(), icon(16)), op(MULT, halves(), icon(65536))}) {
        NODE* test = simp_tree(op(GE, low, icon(0)));
        ASSERT_EQ(test->op, GE) << show(test);
        EXPECT_EQ(test->left->op, ICALL) << show(test);
        EXPECT_EQ(test->left->type->size(), 16u);
        erase_tree(test);
    }
    EXPECT_EQ(used("low_half_difference") + used("shifted_difference"), converted + shifted + 3);
    NODE* high = op(SLL, halves(), icon(15));
    EXPECT_NE(simplified(op(LT, high, icon(0))).find("<<"), std::string::npos);
}

} // namespace
