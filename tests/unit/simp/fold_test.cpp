// Folding, the arithmetic under it, and what remains of an unused value.
#include "simp/fold.h"
#include "simp_fixture.h"

#include <cmath>
#include <numeric>
#include <random>

namespace {

using WIDE = INT65::wide;

class Fold : public Simplify {
  protected:
    static WIDE cut(WIDE v, TYPE* type) {
        unsigned width = type->size();
        WIDE modulus = static_cast<WIDE>(1) << width;
        v = (v % modulus + modulus) % modulus;
        return type->is_signed() && v >= modulus / 2 ? v - modulus : v;
    }
    std::string folded(int op, NODE* a, NODE* b, TYPE* type) { return gone(fold_constants(maketree(op, a, b, type))); }
};

TEST(Int65Math, agrees_with_reference) {
    std::mt19937_64 random(7);
    auto some = [&] { return static_cast<long long>(random() >> (1 + random() % 63)) * (random() % 2 ? 1 : -1); };
    for (int i = 0; i < 20000; i++) {
        long long a = some(), b = some();
        INT65 g = long_gcd(a, b), x, y;
        ASSERT_EQ(g, INT65(std::gcd(a, b)));
        ASSERT_EQ(extended_gcd(a, b, &x, &y), g);
        ASSERT_EQ(x.to_wide() * a + y.to_wide() * b, g.to_wide());
        int overflow;
        WIDE product = static_cast<WIDE>(a) * b, limit = static_cast<WIDE>(1) << 64;
        INT65 r = long_multiply(a, b, &overflow);
        ASSERT_EQ(overflow != 0, product < -limit || product >= limit);
        ASSERT_TRUE(overflow || r.to_wide() == product);
        unsigned long root = 1 + (random() >> 33);
        ASSERT_EQ(long_sqrt(INT65(root * root)), INT65(root));
        ASSERT_EQ(long_sqrt(INT65(root * root - 1)), INT65(root - 1));
    }
    int overflow;
    EXPECT_EQ(long_expt(3, 40, &overflow), INT65(12157665459056928801ull));
    EXPECT_EQ(overflow, 0);
    EXPECT_EQ(long_expt(-2, 64, &overflow), INT65(1) << 64) << "2^64 wraps at 65 bits";
    EXPECT_EQ(overflow, 1);
    EXPECT_EQ(ulong_expt(3, 41), INT65(3 * 12157665459056928801ull));
    EXPECT_EQ(power_of_2(INT65(1ull << 63)), 63);
    EXPECT_EQ(power_of_2(INT65(INT64_MIN)), -1);
    EXPECT_EQ(long_lcm(4, -6), INT65(12));
    EXPECT_EQ(clp2(33), 64u);
    EXPECT_EQ(clp2(0x80000001u), 0u);
}

// Every operator on boundary values of every type, against 128-bit arithmetic cut to the type.
TEST_F(Fold, integer_operators) {
    for (TYPE* type : integers) {
        WIDE high = int_type_max(type).to_wide(), low = int_type_min(type).to_wide();
        std::vector<WIDE> values = {0, 1, 2, 7, cut(-1, type), cut(-7, type), high, high - 1, low, low + 1, high / 3};
        for (WIDE a : values)
            for (WIDE b : values) {
                auto expect = [&](int op, WIDE result, TYPE* result_type) {
                    NODE* tree = maketree(op, constant(INT65::from_wide(a), type), constant(INT65::from_wide(b), type),
                                          result_type);
                    tree = fold_constants(tree);
                    ASSERT_EQ(tree->op, ICON) << opname(op);
                    EXPECT_EQ(tree->u.lval.to_wide(), result)
                        << opname(op) << ' ' << int65_to_text(INT65::from_wide(a)) << ' '
                        << int65_to_text(INT65::from_wide(b)) << " in " << type->printstr();
                    EXPECT_EQ(tree->type, result_type);
                    erase_tree(tree);
                };
                expect(PLUS, cut(a + b, type), type);
                expect(MINUS, cut(a - b, type), type);
                auto product = static_cast<unsigned __int128>(a) * static_cast<unsigned __int128>(b);
                expect(MULT, cut(static_cast<WIDE>(product), type), type);
                expect(ANDB, cut(a & b, type), type);
                expect(XORB, cut(a ^ b, type), type);
                expect(LT, a < b, int_type);
                expect(GE, a >= b, int_type);
                WIDE mask = (static_cast<WIDE>(1) << std::max(32u, type->size())) - 1;
                expect(ULT, (a & mask) < (b & mask), int_type);
                if (b != 0 && cut(a / b, type) == a / b) {
                    expect(DIV, a / b, type);
                    expect(MOD, a % b, type);
                }
                if (b >= 0 && b < type->size()) {
                    expect(SLL, cut(a << static_cast<int>(b), type), type);
                    expect(SRL, a >> static_cast<int>(b), type);
                }
            }
    }
}

TEST_F(Fold, undefined_operations_stay) {
    EXPECT_EQ(folded(DIV, icon(7), icon(0), int_type), "/(7 0)");
    EXPECT_EQ(folded(MOD, icon(7), icon(0), int_type), "%(7 0)");
    EXPECT_EQ(folded(DIV, icon(INT32_MIN), icon(-1), int_type), "/(-2147483648 -1)");
    EXPECT_EQ(folded(SLL, icon(1), icon(40), int_type), "<<(1 40)");
    EXPECT_EQ(folded(SLL, icon(1), icon(-1), int_type), "<<(1 -1)");
    EXPECT_EQ(folded(SCONV, fcon("3e9", double_type), nullptr, int_type), "SCONV32(0x1.65a0bcp+31)");
    EXPECT_EQ(folded(DIV, fcon("1", double_type), fcon("0", double_type), double_type), "/(0x1p+0 0x0p+0)");
    EXPECT_EQ(folded(MULT, fcon("1e308", double_type), icon(10), double_type).substr(0, 1), "*");
    EXPECT_EQ(folded(SQRT, fcon("-1", double_type), nullptr, double_type), "SQRT(-0x1p+0)");
}

TEST_F(Fold, floats_round_in_the_type_of_the_node) {
    auto text = [](double v) {
        char buffer[40];
        snprintf(buffer, sizeof buffer, "%a", v);
        return std::string(buffer);
    };
    volatile double x = 0.1, y = 0.2;
    volatile float u = 0.1f, v = 0.7f;
    EXPECT_EQ(folded(PLUS, fcon("0.1", double_type), fcon("0.2", double_type), double_type), text(x + y));
    TYPE* single = tp->float_type();
    EXPECT_EQ(folded(MULT, fcon("0.1", single), fcon("0.7", single), single), text(u * v));
    EXPECT_EQ(folded(SCONV, icon(16777217), nullptr, single), "0x1p+24");
    EXPECT_EQ(folded(SCONV, constant(INT65(~0ull), integers[5]), nullptr, double_type), "0x1p+64");
    EXPECT_EQ(folded(SCONV, fcon("-3.9", double_type), nullptr, int_type), "-3");
    EXPECT_EQ(folded(SCONV, fcon("0.25", double_type), nullptr, tp->bool_type()), "1");
    EXPECT_EQ(folded(UMINUS, fcon("0", double_type), nullptr, double_type), "-0x0p+0");
    EXPECT_EQ(folded(EQ, fcon("-0.0", double_type), fcon("0", double_type), int_type), "1");
    for (int op : {EQ, LT, LE, GT, GE}) EXPECT_EQ(folded(op, fcon("NaN", double_type), icon(1), int_type), "0");
    EXPECT_EQ(folded(NEQ, fcon("NaN", double_type), fcon("NaN", double_type), int_type), "1");
}

TEST_F(Fold, bool_and_mixed_types) {
    EXPECT_EQ(folded(SCONV, constant(256, int_type), nullptr, tp->bool_type()), "1");
    EXPECT_EQ(folded(LT, constant(-1, int_type), constant(1, uint_type), int_type), "0") << "compared as unsigned";
    EXPECT_EQ(folded(LT, constant(-1, int_type), constant(1, char_type), int_type), "1");
    NODE* x = name(symbol("x", int_type));
    EXPECT_EQ(folded(ULT, constant(3, uint_type), x, int_type), "u>(x 3)") << "a constant moves to the right";
    EXPECT_EQ(folded(MINUS, icon(3), name(symbol("y", int_type)), int_type), "-(3 y)");
}

TEST(NormalizeFcon, one_text_for_one_value) {
    EXPECT_EQ(normalize_fcon("00012.500e2", 0), "1250.0");
    EXPECT_EQ(normalize_fcon("1250.0", 0), "1250.0");
    EXPECT_EQ(normalize_fcon("-.00125", 0), "-0.00125");
    EXPECT_EQ(normalize_fcon("99999", 0), "99999.0");
    EXPECT_EQ(normalize_fcon("100000", 0), "1.0e5");
    EXPECT_EQ(normalize_fcon("1.5E-0004", 0), "1.5e-4");
    EXPECT_EQ(normalize_fcon("-0e99", 0), "-0.0");
    EXPECT_EQ(normalize_fcon("9.996", 3), "10.0");
    EXPECT_EQ(normalize_fcon("1.2345", 3), "1.23");
    for (const char* text : {"Inf", "0x1p3", "1.5f", "1e", "."}) EXPECT_EQ(normalize_fcon(text, 0), text);
}

TEST_F(Fold, peeling_keeps_effects_in_order) {
    NODE* x = name(symbol("x", int_type));
    NODE* v = name(symbol("v", volatile_of(int_type)));
    NODE* sum = plus(plus(copy_tree(x), asg(copy_tree(x), icon(1))), plus(copy_tree(v), call()));
    EXPECT_EQ(gone(peel_for_effect(sum)), ",OP(,OP(=(x 1) v) UCALL(U&(_f)))");
    EXPECT_EQ(gone(peel_for_effect(asg(copy_tree(x), copy_tree(x)))), "");
    EXPECT_EQ(gone(peel_for_effect(address(copy_tree(v)))), "") << "an address reads nothing";
    NODE* twice = asg(copy_tree(v), copy_tree(v));
    EXPECT_EQ(gone(peel_for_effect(twice)), "=(v v)");
    auto choice = [&](NODE* a, NODE* b) {
        return maketree(QUEST, copy_tree(x), maketree(COLON, a, b, int_type), int_type);
    };
    EXPECT_EQ(gone(peel_for_effect(choice(icon(3), plus(copy_tree(x), icon(1))))), "");
    std::string half = gone(peel_for_effect(choice(plus(call(), icon(1)), copy_tree(x))));
    EXPECT_NE(half.find("UCALL"), std::string::npos) << half;
    EXPECT_EQ(gone(peel_for_effect(maketree(OROR, call(), copy_tree(x), int_type))), "UCALL(U&(_f))");
    NODE* step = maketree(PLUSPLUS, copy_tree(x), icon(1), int_type);
    std::string stepped = gone(peel_for_effect(step));
    EXPECT_TRUE(stepped == "+=(x 1)" || stepped == "=(x +(x 1))") << stepped;
    make_FUNINFO("f")->flags |= FUN_is_pure_fun;
    EXPECT_EQ(gone(peel_for_effect(plus(call(), asg(copy_tree(x), icon(2))))), "=(x 2)");
    erase_tree(x);
    erase_tree(v);
}

TEST_F(Fold, deep_trees) {
    SYMTAB* x = symbol("x", int_type);
    auto chain = [&](int op) {
        NODE* tree = name(x);
        for (int i = 0; i < 100000; i++) tree = maketree(op, tree, name(x), int_type);
        return tree;
    };
    EXPECT_EQ(gone(peel_for_effect(chain(PLUS))), "");
    EXPECT_EQ(gone(peel_for_effect(chain(ANDAND))), "");
    NODE* constants = icon(1);
    for (int i = 0; i < 100000; i++) constants = plus(icon(1), constants);
    EXPECT_EQ(gone(fold_constants(constants)), "100001");
    NODE* commas = name(x);
    for (int i = 0; i < 100000; i++) commas = maketree(COMMAOP, asg(name(x), icon(i)), commas, int_type);
    NODE* after = simp_tree(commas);
    EXPECT_EQ(count_nodes_in_tree(after), 400001);
    erase_tree(after);
}

} // namespace
