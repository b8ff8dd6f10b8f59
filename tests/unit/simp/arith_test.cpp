// Sums, products, shifts, quotients: shapes, and the conditions under which a rule must keep off.
#include "../ir/small_function.h"

#include "ir/fps.h"
#include "simp/simp.h"

namespace {

class Arithmetic : public SmallFunction {
  protected:
    void SetUp() override {
        SmallFunction::SetUp();
        uint_type = tp->uint_type();
        short_type = tp->short_type();
        x = symbol("x", int_type);
        y = symbol("y", int_type);
        z = symbol("z", int_type);
        u = symbol("u", uint_type);
        h = symbol("h", short_type);
        d = symbol("d", tp->double_type());
        volatile_ = symbol("v", tp->mk_qual(int_type, QUAL_VOLATILE));
    }

    NODE* op(int opcode, NODE* a, NODE* b, TYPE* type = nullptr) {
        return maketree(opcode, a, b, type != nullptr ? type : int_type);
    }
    // An operation of the source, which does not overflow.
    NODE* exact(int opcode, NODE* a, NODE* b) {
        NODE* tree = op(opcode, a, b);
        tree->flags |= NODE_NO_WRAP;
        return tree;
    }
    NODE* n(SYMTAB* sym) { return mk_NAME(sym); }
    NODE* c(long long value) { return mk_ICON(INT65(value), int_type); }
    NODE* cu(long long value) { return mk_ICON(INT65(value), uint_type); }
    NODE* wide(SYMTAB* sym) { return mk_SCONV(mk_NAME(sym), int_type); }
    NODE* fcon(const char* value) {
        NODE* node = new_node(FCON, tp->double_type());
        node->mk_fcon(value);
        return node;
    }

    static const char* sign(int opcode) {
        switch (opcode) {
        case PLUS: return "+";
        case MINUS: return "-";
        case MULT: return "*";
        case DIV: return "/";
        case MOD: return "%";
        case SLL: return "<<";
        case SRL: return ">>";
        case ANDB: return "&";
        case XORB: return "^";
        case EXPT: return "**";
        case COMMAOP: return ",";
        default: return node_operator_name[opcode];
        }
    }
    static std::string show(NODE* t) {
        switch (t->op) {
        case NAME: return t->u.sym->name;
        case ICON: return int65_to_text(t->u.lval);
        case FCON: return t->fcon_value();
        case SCONV: return "(" + t->type->print() + ")" + show(t->left);
        case UMINUS: return "-" + show(t->left);
        default:
            if (t->right == nullptr) return std::string(node_operator_name[t->op]) + show(t->left);
            return "(" + show(t->left) + " " + sign(t->op) + " " + show(t->right) + ")";
        }
    }
    // The text of the simplified tree; simplifying it again must not change it.
    std::string simp(NODE* tree) {
        TYPE* type = tree->type;
        tree = simp_tree(tree);
        EXPECT_TRUE(equiv_mtypes(tree->type, type)) << show(tree);
        std::string result = show(tree);
        tree = simp_tree(tree);
        EXPECT_EQ(show(tree), result) << "simplified twice";
        erase_tree(tree);
        return result;
    }

    TYPE *uint_type = nullptr, *short_type = nullptr;
    SYMTAB *x = nullptr, *y = nullptr, *z = nullptr, *u = nullptr, *h = nullptr, *d = nullptr, *volatile_ = nullptr;
};

TEST_F(Arithmetic, LikeTermsMerge) {
    EXPECT_EQ(simp(op(PLUS, op(MULT, n(x), c(3)), op(MULT, n(x), c(5)))), "(x * 8)");
    EXPECT_EQ(simp(op(MINUS, op(PLUS, n(x), n(y)), n(x))), "y");
    EXPECT_EQ(simp(op(PLUS, op(MINUS, n(x), n(y)), n(y))), "x");
    EXPECT_EQ(simp(op(MINUS, op(PLUS, n(z), op(MULT, n(x), c(5))), op(MULT, n(x), c(6)))), "(z - x)");
    EXPECT_EQ(simp(op(MINUS, op(PLUS, n(z), op(MULT, n(x), c(5))), op(MULT, n(x), c(5)))), "z");
    EXPECT_EQ(simp(op(MINUS, n(x), op(PLUS, n(x), n(y)))), "-y");
    EXPECT_EQ(simp(op(MINUS, op(MINUS, c(7), n(x)), c(7))), "-x");
    // Two reads of a volatile object are two reads.
    EXPECT_EQ(simp(op(MINUS, n(volatile_), n(volatile_))), "(v - v)");
}

TEST_F(Arithmetic, ConstantsRiseToTheTop) {
    EXPECT_EQ(simp(op(PLUS, op(MINUS, c(5), n(x)), n(y))), "((y - x) + 5)");
    EXPECT_EQ(simp(op(MINUS, op(PLUS, n(x), c(3)), op(PLUS, n(y), c(5)))), "((x - y) + -2)");
    EXPECT_EQ(simp(op(MULT, op(PLUS, op(MULT, n(x), c(2)), c(3)), c(5))), "((x * 10) + 15)");
    EXPECT_EQ(simp(op(MULT, op(MINUS, c(2), n(x)), c(-3))), "((x * 3) + -6)");
    EXPECT_EQ(simp(op(MINUS, c(-1), n(x))), "(x ^ -1)");
    EXPECT_EQ(simp(op(MINUS, n(x), c(INT32_MIN))), "(x - -2147483648)");
    EXPECT_EQ(simp(op(MINUS, n(x), op(ANDB, n(x), c(12)))), "(x & -13)");
    EXPECT_EQ(simp(op(MINUS, op(ORB, n(x), c(12)), c(12))), "(x & -13)");
}

TEST_F(Arithmetic, CommonFactorUnlessSixteenBits) {
    EXPECT_EQ(simp(op(PLUS, op(MULT, n(x), c(7)), op(MULT, n(y), c(7)))), "((x + y) * 7)");
    EXPECT_EQ(simp(op(PLUS, op(MULT, n(x), n(z)), op(MULT, n(y), n(z)))), "((x + y) * z)");
    SYMTAB* g = symbol("g", short_type);
    std::string kept = simp(op(PLUS, op(MULT, wide(h), c(7)), op(MULT, wide(g), c(7))));
    EXPECT_EQ(kept, "(((int)h * 7) + ((int)g * 7))");
}

TEST_F(Arithmetic, SumsThatAreTooLargeToMultiplyOut) {
    const long long big = 0x40000000; // times 7: beyond 32 bits, 0xC0000000 of them stay
    auto product = [&] { return op(MULT, op(PLUS, n(x), c(big)), c(7)); };
    EXPECT_EQ(simp(product()), "((x + 1073741824) * 7)");
    EXPECT_EQ(simp(op(PLUS, product(), n(x))), "((x * 8) + -1073741824)");
    EXPECT_EQ(simp(op(PLUS, op(PLUS, n(y), product()), op(MULT, n(x), c(3)))), "(((x * 10) + y) + -1073741824)");
    EXPECT_EQ(simp(op(MINUS, n(x), product())), "((x * -6) + 1073741824)");
    EXPECT_EQ(simp(op(MINUS, product(), op(MULT, n(x), c(7)))), "-1073741824");
    // (big - x) * 7 + x is 7 * big - 6 * x
    EXPECT_EQ(simp(op(PLUS, op(MULT, op(MINUS, c(big), n(x)), c(7)), n(x))), "((x * -6) + -1073741824)");
    // Small ones are multiplied out, and then merge like any terms.
    EXPECT_EQ(simp(op(PLUS, op(MULT, op(PLUS, n(x), c(5)), c(3)), n(x))), "((x * 4) + 15)");
    EXPECT_EQ(simp(op(PLUS, op(MULT, op(MINUS, c(5), n(x)), c(3)), n(x))), "(15 - (x * 2))");
    EXPECT_EQ(simp(op(MINUS, op(MULT, op(PLUS, n(x), c(5)), c(6)), op(MULT, op(PLUS, n(x), c(1)), c(4)))),
              "((x * 2) + 26)");
}

TEST_F(Arithmetic, CommonPowersOfTwo) {
    auto times = [&](SYMTAB* sym, long long k) { return op(MULT, n(sym), c(k)); };
    EXPECT_EQ(simp(op(MINUS, times(x, 8), times(y, 4))), "(((x * 2) - y) * 4)");
    EXPECT_EQ(simp(op(MINUS, times(x, 4), times(y, 16))), "((x - (y * 4)) * 4)");
    EXPECT_EQ(simp(op(MINUS, op(SLL, n(x), c(3)), times(y, 2))), "(((x << 2) - y) * 2)");
    EXPECT_EQ(simp(op(PLUS, times(x, 8), times(y, 4))), "(((x * 2) + y) * 4)");
    // Products of 16-bit factors are one step each.
    SYMTAB* g = symbol("g", short_type);
    for (int opcode : {PLUS, MINUS}) {
        NODE* tree = op(opcode, op(MULT, wide(h), c(8)), op(MULT, wide(g), c(4)));
        EXPECT_EQ(simp(tree), std::string("(((int)h * 8) ") + sign(opcode) + " ((int)g * 4))");
    }
}

TEST_F(Arithmetic, ConstantsJoinExactlyAsTheNodeReadsThem) {
    // (x + -1) + 0x80000000u: as an int that adds INT_MIN, which only a positive x stands; x + INT_MAX is another sum.
    NODE* tree = exact(PLUS, exact(PLUS, n(x), c(-1)), cu(0x80000000LL));
    tree = simp_tree(tree);
    EXPECT_EQ(show(tree), "(x + 2147483647)");
    EXPECT_EQ(tree->flags & NODE_NO_WRAP, 0);
    erase_tree(tree);
}

TEST_F(Arithmetic, Powers) {
    auto power = [&](NODE* base, NODE* exponent) { return op(EXPT, base, exponent); };
    EXPECT_EQ(simp(power(n(x), c(0))), "1");
    EXPECT_EQ(simp(power(n(x), c(1))), "x");
    EXPECT_EQ(simp(power(c(1), n(x))), "1");
    EXPECT_EQ(simp(power(c(0), c(3))), "0");
    EXPECT_EQ(simp(power(c(0), n(x))), "(0 ** x)"); // 0 ** 0 is 1
    EXPECT_EQ(simp(power(n(x), c(-1))), "(x ** -1)");
    EXPECT_EQ(simp(power(n(volatile_), c(0))), "(v ** 0)");
    EXPECT_EQ(simp(op(EXPT, n(d), c(1), tp->double_type())), "d");
}

TEST_F(Arithmetic, ComplexParts) {
    TYPE* part = tp->double_type();
    TYPE* pair_type = complex_type_for_part(part);
    SYMTAB *e = symbol("e", part), *z2 = symbol("z2", pair_type), *z3 = symbol("z3", pair_type);
    SYMTAB* hard = symbol("hard", tp->mk_qual(part, QUAL_VOLATILE));
    auto pair = [&](NODE* re, NODE* im) { return op(COMPLEX, re, im, pair_type); };
    auto part_of = [&](int opcode, NODE* whole) { return op(opcode, whole, nullptr, part); };
    EXPECT_EQ(simp(part_of(REAL, pair(n(d), n(e)))), "d");
    EXPECT_EQ(simp(part_of(IMAG, pair(n(d), n(e)))), "e");
    std::string kept = simp(part_of(REAL, pair(n(d), n(hard))));
    EXPECT_NE(kept.find("hard"), std::string::npos) << kept;
    EXPECT_EQ(simp(pair(part_of(REAL, n(z2)), part_of(IMAG, n(z2)))), "z2");
    for (auto [first, second] : {std::pair{REAL, z3}, {IMAG, z2}}) {
        std::string other = simp(pair(part_of(first, n(z2)), part_of(IMAG, n(second))));
        EXPECT_NE(other, "z2");
    }
}

TEST_F(Arithmetic, Shifts) {
    EXPECT_EQ(simp(op(SRL, op(SLL, n(u), c(3), uint_type), c(3), uint_type)), "(u & 536870911)");
    EXPECT_EQ(simp(op(SLL, n(x), c(40))), "0");
    EXPECT_EQ(simp(op(SRL, n(x), c(40))), "(x >> 31)");
    EXPECT_EQ(simp(op(SRL, n(u), c(32), uint_type)), "0");
    EXPECT_EQ(simp(op(SRL, op(SRL, n(x), c(20)), c(20))), "(x >> 31)");
    EXPECT_EQ(simp(op(SLL, n(x), c(-1))), "(x << -1)");
    EXPECT_EQ(simp(op(SLL, op(SRL, n(x), c(5)), c(5))), "(x & -32)");
    // Bits that x * 8 may lose would come back.
    EXPECT_EQ(simp(op(SRL, exact(MULT, n(x), c(8)), c(2))), "(x * 2)");
    EXPECT_EQ(simp(op(SRL, op(MULT, n(x), c(8)), c(2))), "((x * 8) >> 2)");
    EXPECT_EQ(simp(op(SLL, wide(h), c(3))), "((int)h * 8)");
    EXPECT_EQ(simp(op(SLL, n(x), c(3))), "(x << 3)");
}

TEST_F(Arithmetic, QuotientsKeepTheirSign) {
    EXPECT_EQ(simp(op(DIV, n(x), c(1))), "x");
    EXPECT_EQ(simp(op(DIV, n(x), c(0))), "(x / 0)");
    EXPECT_EQ(simp(op(DIV, c(INT32_MIN), c(-1))), "(-2147483648 / -1)");
    EXPECT_EQ(simp(op(DIV, n(x), c(8))), "(x / 8)");
    EXPECT_EQ(simp(op(DIV, n(u), cu(8), uint_type)), "(u >> 3)");
    EXPECT_EQ(simp(op(DIV, n(x), c(-7))), "-(x / 7)");
    EXPECT_EQ(simp(op(DIV, op(UMINUS, n(x), nullptr), n(y))), "(-x / y)");
    EXPECT_EQ(simp(op(DIV, exact(UMINUS, n(x), nullptr), n(y))), "-(x / y)");
    EXPECT_EQ(simp(op(DIV, op(ANDB, n(x), c(-8)), c(8))), "(x >> 3)");
    EXPECT_EQ(simp(op(MOD, n(x), c(-7))), "(x % 7)");
    EXPECT_EQ(simp(op(MOD, n(x), c(8))), "(x % 8)");
    EXPECT_EQ(simp(op(MOD, n(u), cu(8), uint_type)), "(u & 7)");
    EXPECT_EQ(simp(op(MOD, op(MOD, n(x), c(12)), c(4))), "(x % 4)");
    EXPECT_EQ(simp(op(MOD, wide(h), c(100000))), "(int)h");
}

TEST_F(Arithmetic, QuotientsOfExactDividends) {
    EXPECT_EQ(simp(op(DIV, exact(MULT, n(x), c(6)), c(4))), "((x * 3) / 2)");
    EXPECT_EQ(simp(op(DIV, op(MULT, n(x), c(6)), c(4))), "((x * 6) / 4)");
    EXPECT_EQ(simp(op(DIV, exact(MULT, n(x), n(y)), exact(MULT, n(z), n(y)))), "(x / z)");
    EXPECT_EQ(simp(op(DIV, op(MULT, n(x), n(y)), n(y))), "((x * y) / y)");
    EXPECT_EQ(simp(op(DIV, exact(PLUS, exact(MULT, n(x), c(4)), c(8)), c(4))), "(x + 2)");
    // 4 * -1 + 3 is -1, which divided by 4 is 0, but -1 + 3 / 4 is -1.
    EXPECT_EQ(simp(op(DIV, exact(PLUS, exact(MULT, n(x), c(4)), c(3)), c(4))), "(((x * 4) + 3) / 4)");
}

TEST_F(Arithmetic, FloatsOnlyByWhatIsExact) {
    TYPE* type = tp->double_type();
    EXPECT_EQ(simp(op(MULT, fcon("1.0"), n(d), type)), "d");
    EXPECT_EQ(simp(op(MULT, n(d), fcon("2.0"), type)), "(d + d)");
    EXPECT_EQ(simp(op(DIV, n(d), fcon("4.0"), type)), "(d * 0x1p-2)");
    EXPECT_EQ(simp(op(DIV, n(d), fcon("10.0"), type)), "(d / 0x1.4p+3)");
    EXPECT_EQ(simp(op(DIV, n(d), fcon("0.0"), type)), "(d / 0x0p+0)");
    EXPECT_EQ(simp(op(MINUS, n(d), n(d), type)), "(d - d)");
}

TEST_F(Arithmetic, PointersAndRareOperators) {
    TYPE* type = tp->mk_ptr(int_type);
    SYMTAB* p = symbol("p", type);
    auto plus_c = [&](NODE* a, long long k) { return op(PLUS, a, c(k), type); };
    EXPECT_EQ(simp(op(PLUS, n(p), mk_SCONV(n(u), int_type), type)), "(u + p)");
    TYPE* long_type = tp->llong_type();
    SYMTAB* q = symbol("q", long_type);
    // Only the low bits of a wider index count, of a narrower one all that the conversion makes of them.
    EXPECT_EQ(simp(op(PLUS, n(p), mk_SCONV(n(q), int_type), type)), "(p + q)");
    EXPECT_EQ(simp(op(PLUS, n(p), wide(h), type)), "((int)h + p)");
    SYMTAB* text = symbol("text", tp->mk_ptr(tp->char_type()));
    NODE* from_text = maketree(PCONV, n(text), nullptr, type);
    EXPECT_EQ(simp(op(PLUS, from_text, op(PLUS, n(x), c(3)), type)), "((PCONVtext + x) + 3)");
    EXPECT_EQ(simp(op(PLUS, n(p), op(PLUS, op(MULT, n(x), n(y)), c(3)), type)), "(((x * y) + p) + 3)");
    EXPECT_EQ(simp(op(MINUS, plus_c(n(p), 6), c(2), type)), "(p + 4)");
    EXPECT_EQ(simp(op(MINUS, op(PLUS, n(p), n(x), type), n(p))), "x");
    EXPECT_EQ(simp(op(MINUS, plus_c(op(PLUS, n(p), n(x), type), 3), plus_c(n(p), 1))), "(x + 2)");
    EXPECT_EQ(simp(op(PLUS, op(MINUS, c(8), n(x)), n(p), type)), "((p - x) + 8)");
    EXPECT_EQ(simp(op(MULT, op(EXPT, n(x), c(3)), n(x))), "(x ** 4)");
    EXPECT_EQ(simp(op(MULT, op(EXPT, n(x), n(y)), n(x))), "((x ** y) * x)");
    auto saturated = [&](int a, int by, int n_) {
        NODE* arguments = op(COMMA, op(SRL, n(x), c(a)), c(by));
        return op(SRL, mk_ICALL("_sshl", arguments, int_type), c(n_));
    };
    EXPECT_EQ(simp(saturated(8, 5, 8)), "(x >> 11)");
    EXPECT_NE(simp(saturated(8, 9, 8)), "(x >> 7)"); // this one may saturate
}

TEST_F(Arithmetic, EffectsStay) {
    EXPECT_EQ(simp(op(MULT, n(volatile_), c(0))), "(v , 0)");
    EXPECT_EQ(simp(op(DIV, c(0), n(volatile_))), "(v , 0)");
    EXPECT_EQ(simp(op(MOD, n(volatile_), c(-1))), "(v , 0)");
    EXPECT_EQ(simp(op(SLL, n(volatile_), c(32))), "(v , 0)");
}

} // namespace
