// Chains, masks and the bitwise operators: shapes that must come out, and cases that must stay.
#include "simp_fixture.h"

#include "ir/vars.h"
#include "simp/rules.h"

#include <cstring>

class Logic : public Simplify {
  protected:
    void SetUp() override {
        Simplify::SetUp();
        reset_simp_stats();
        uchar_type = tp->uchar_type()->normalized();
        llong_type = tp->llong_type()->normalized();
        for (auto [sym, text] : {std::pair{&x, "x"}, {&y, "y"}, {&z, "z"}, {&w, "w"}}) *sym = symbol(text, int_type);
        u = symbol("u", uint_type);
        c = symbol("c", uchar_type);
        wide = symbol("q", llong_type);
    }
    NODE* op(int opcode, NODE* a, NODE* b, TYPE* type = nullptr) {
        return maketree(opcode, a, b, type != nullptr ? type : int_type);
    }
    NODE* band(NODE* a, int mask) { return op(ANDB, a, icon(mask), a->type->size() < 32 ? int_type : a->type); }
    NODE* bor(NODE* a, int bits) { return op(ORB, a, icon(bits), a->type); }
    NODE* bxor(NODE* a, int bits) { return op(XORB, a, icon(bits), a->type); }
    NODE* n(SYMTAB* sym) { return name(sym); }
    // Assigning to the variable and giving its value: something with an effect.
    NODE* effect() { return maketree(PLUSPLUS, n(w), icon(1), int_type); }
    NODE* sconv(NODE* a, TYPE* type) { return mk_SCONV(a, type); }

    // The text after simplification, which must not change when done again, nor use up the allowance.
    std::string stable(NODE* tree) {
        tree = simp_tree(tree);
        std::string once = show(tree);
        tree = simp_tree(tree);
        EXPECT_EQ(show(tree), once) << "simplified twice";
        EXPECT_EQ(simp_allowance_exceeded, 0u) << once;
        erase_tree(tree);
        return once;
    }

    TYPE *uchar_type = nullptr, *llong_type = nullptr;
    SYMTAB *x = nullptr, *y = nullptr, *z = nullptr, *w = nullptr, *u = nullptr, *c = nullptr, *wide = nullptr;
};

TEST_F(Logic, ChainsLeanLeftWithTheConstantOutside) {
    // x + (y + (z + 5)) + 3, in the order of evaluation that it had
    NODE* inner = op(PLUS, n(y), op(PLUS, op(MULT, n(z), n(w)), icon(5)));
    EXPECT_EQ(stable(op(PLUS, op(PLUS, n(x), inner), icon(3))), "+(+(+(*(z w) y) x) 8)");
    EXPECT_EQ(stable(op(XORB, bxor(n(x), 6), op(XORB, n(y), icon(3)))), "^(^(y x) 5)");
    // Terms with effects keep their order.
    NODE* chain = op(PLUS, effect(), op(PLUS, op(PLUSASG, n(x), icon(2)), n(y)));
    EXPECT_EQ(stable(chain), "+(+(++(w 1) =(x +(x 2))) y)");
    // An integer narrower than the pointer wraps elsewhere.
    SYMTAB* p = symbol("p", tp->mk_ptr(int_type));
    TYPE* pointer = p->type;
    EXPECT_EQ(stable(op(PLUS, n(p), op(PLUS, op(MULT, n(x), n(y)), icon(4)), pointer)), "+(+(*(x y) p) 4)");
}

TEST_F(Logic, LongChainsTakeBoundedWork) {
    // Nothing here may be quadratic or recurse along the chain: 100,000 links each.
    for (bool right : {false, true})
        for (int opcode : {PLUS, XORB}) {
            NODE* chain = n(x);
            for (int i = 0; i < 100000; i++) {
                NODE* term = i % 3 == 0 ? op(MULT, n(y), n(z)) : i % 3 == 1 ? n(y) : icon(i);
                chain = right ? op(opcode, term, chain) : op(opcode, chain, term);
            }
            erase_tree(simp_tree(chain));
        }
    EXPECT_EQ(simp_allowance_exceeded, 0u);
}

TEST_F(Logic, MasksCombineAndVanish) {
    EXPECT_EQ(stable(band(band(n(u), 0xFF), 0x0F)), "&(u 15)");
    EXPECT_EQ(stable(band(sconv(n(c), int_type), 0xFFFF)), "SCONV32(c)");
    EXPECT_EQ(stable(band(n(x), 0)), "0");
    EXPECT_EQ(stable(band(effect(), 0)), ",OP(=(w +(w 1)) 0)");
    EXPECT_EQ(stable(op(ANDB, n(x), n(x))), "x");
    // ((x & -16) + 20) & -16: no carry comes out of the low bits
    EXPECT_EQ(stable(band(op(PLUS, band(n(x), -16), icon(20)), -16)), "+(&(x -16) 16)");
    EXPECT_EQ(stable(band(op(PLUS, n(x), icon(-1)), 0xFF)), "&(+(x 255) 255)");
    EXPECT_EQ(stable(op(ANDB, op(ORB, band(n(x), 0x0F), band(n(y), 0xF0)), icon(0x3C))), "|(&(x 12) &(y 48))");
    // A part of the sum below the mask may go only as far as carries allow.
    EXPECT_EQ(stable(band(op(PLUS, band(n(x), 0x1FF), n(y)), 0xFF)), "&(+(x y) 255)");
    EXPECT_EQ(stable(band(op(PLUS, bor(n(x), 1), n(y)), 0xF0)), "&(+(|(x 1) y) 240)");
    EXPECT_EQ(stable(band(op(SRL, bor(n(u), 3), icon(4), uint_type), 0xFF)), "&(>>(u 4) 255)");
}

TEST_F(Logic, ExactMarksGoWhenOnlySomeBitsStayRight) {
    NODE* sum = op(PLUS, band(n(x), 0x1FF), n(y));
    sum->flags |= NODE_NO_WRAP;
    NODE* tree = simp_tree(band(sum, 0xFF));
    EXPECT_EQ(tree->left->op, PLUS);
    EXPECT_EQ(tree->left->flags & NODE_NO_WRAP, 0);
    erase_tree(tree);
    // x + 5 + 7: exact as long as the constant is.
    for (int second : {7, 0x7FFFFFFF}) {
        NODE* inner = op(PLUS, n(x), icon(5));
        NODE* outer = op(PLUS, inner, icon(second));
        inner->flags |= NODE_NO_WRAP;
        outer->flags |= NODE_NO_WRAP;
        outer = simp_tree(outer);
        EXPECT_EQ((outer->flags & NODE_NO_WRAP) != 0, second == 7);
        erase_tree(outer);
    }
}

TEST_F(Logic, ConstantsOfANarrowerTypeCountAsExtended) {
    // Bit 32 of ~q: the -1 is an int, and stands for 64 ones.
    NODE* inverted = op(XORB, n(wide), icon(-1), llong_type);
    NODE* bit = mk_ICON(INT65(1) << 32, llong_type);
    EXPECT_NE(stable(op(ANDB, inverted, bit, llong_type)).find("^(q"), std::string::npos);
}

TEST_F(Logic, MaskConstantsHaveFewRuns) {
    struct CASE {
        int64_t value, care, result;
    };
    for (const CASE& k : {CASE{0x1234, -1, 0x1234},           // all bits count
                          CASE{0xF0, 0xFF, -16},              // the highest bit that counts becomes the sign
                          CASE{0x70, 0xFF, 0x70},             //
                          CASE{0x50000, 0xD0000, 0x7FFFF},    // free bits beside ones join them
                          CASE{0xF0, 0xF0F, 0},               // nothing of the value counts
                          CASE{0xFF0000, 0xFFFFFF, 0xFF0000}, // clears a 16-bit field: kept
                          CASE{0x0F0000, 0x0FFFFF, 0x0F0000}}) {
        NODE* mask = mk_ICON(INT65(static_cast<long long>(k.value)), int_type);
        regularize_mask_constant(mask, INT65(static_cast<long long>(k.care)));
        EXPECT_EQ(int65_to_text(mask->u.lval), std::to_string(k.result)) << std::hex << k.value << " " << k.care;
        erase_node(mask);
    }
}

TEST_F(Logic, MaskedSubtreesKeepTheirEffects) {
    NODE* tree = prop_mask_into_subtree(op(SLL, effect(), icon(8)), INT65(0));
    EXPECT_EQ(gone(tree), ",OP(=(w +(w 1)) 0)");
    // Only the lowest bit: the sum is an exclusive or.
    EXPECT_EQ(stable(band(op(PLUS, n(x), op(MULT, n(y), n(z))), 1)), "&(^(&(y z) x) 1)");
    // A field of a sign-extended value reaches the sign.
    EXPECT_EQ(stable(band(op(SRL, bor(n(x), 1), icon(4)), 0x7FFFFFFF)), "&(>>(x 4) 2147483647)");
    NODE* extended = sconv(op(XORB, n(x), icon(INT32_MIN)), llong_type);
    EXPECT_EQ(stable(op(ANDB, extended, mk_ICON(INT65(1) << 40, llong_type), llong_type)),
              "&(SCONV64(^(x -2147483648)) 1099511627776)");
}

TEST_F(Logic, OrAndXorOfConstants) {
    EXPECT_EQ(stable(bor(bor(n(x), 1), 2)), "|(x 3)");
    EXPECT_EQ(stable(bor(n(x), -1)), "-1");
    EXPECT_EQ(stable(bor(bxor(band(n(x), 0xF0), 0x30), 0x0F)), "|(&(^(x 48) 240) 15)");
    EXPECT_EQ(stable(op(ORB, op(ORB, band(n(x), 1), n(y)), band(n(x), 4))), "|(&(x 5) y)");
    EXPECT_EQ(stable(op(XORB, n(x), n(x))), "0");
    EXPECT_EQ(stable(bxor(band(n(x), 0xF0), 0x0F)), "|(&(x 240) 15)");
    EXPECT_EQ(stable(bxor(bor(n(x), 8), 8)), "&(x -9)");
    EXPECT_EQ(stable(bxor(bxor(n(x), -1), -1)), "x");
    EXPECT_EQ(stable(op(ORB, op(SRL, n(u), icon(3), uint_type), op(SRL, n(u), icon(5), uint_type), uint_type)),
              ">>(|(>>(u 2) u) 3)");
}

TEST_F(Logic, IntervalsAndRedundantTests) {
    auto test = [&](int opcode, SYMTAB* sym, int value) { return op(opcode, n(sym), icon(value)); };
    EXPECT_EQ(stable(op(ANDB, test(UGE, u, 3), test(ULE, u, 9))), "u<=(+(u 4294967293) 6)");
    EXPECT_EQ(stable(op(ANDB, test(GE, c, 3), test(LT, c, 10))), "u<=(SCONV16(+(c -3)) 6)");
    EXPECT_EQ(stable(op(ANDB, test(UGE, u, 9), test(ULE, u, 3))), "&(u>=(u 9) u<=(u 3))");
    // Signed x: the interval would need more than one test.
    EXPECT_EQ(stable(op(ANDB, test(GE, x, 3), test(LE, x, 9))), "&(>=(x 3) <=(x 9))");
    auto pair = [&](int a, int b, int combination) {
        return stable(op(combination, op(a, n(x), n(y)), op(b, n(x), n(y))));
    };
    EXPECT_EQ(pair(LE, GE, ANDB), "==(x y)");
    EXPECT_EQ(pair(LE, GE, ORB), "1");
    EXPECT_EQ(pair(LT, GT, ANDB), "0");
    EXPECT_EQ(pair(LT, GT, ORB), "!=(x y)");
    EXPECT_EQ(pair(EQ, LE, ANDB), "==(x y)");
    EXPECT_EQ(pair(NEQ, ULE, ANDB), "u<(x y)");
    EXPECT_EQ(pair(LT, ULT, ANDB), "&(<(x y) u<(x y))");
    // Unordered floats are neither below nor above each other.
    SYMTAB *d = symbol("d", double_type), *e = symbol("e", double_type);
    EXPECT_EQ(stable(op(ORB, op(LT, n(d), n(e)), op(GT, n(d), n(e)))), "|(<(d e) >(d e))");
    EXPECT_EQ(stable(op(ANDB, op(LE, n(d), n(e)), op(GE, n(d), n(e)))), "==(d e)");
}

TEST_F(Logic, Unary) {
    auto neg = [&](NODE* a) { return maketree(UMINUS, a, nullptr, a->type); };
    auto abs = [&](NODE* a) { return maketree(ABS, a, nullptr, a->type); };
    EXPECT_EQ(stable(neg(neg(n(x)))), "x");
    EXPECT_EQ(stable(neg(op(MINUS, n(x), n(y)))), "-(y x)");
    EXPECT_EQ(stable(maketree(NOTB, n(x), nullptr, int_type)), "^(x -1)");
    EXPECT_EQ(stable(abs(neg(n(x)))), "ABS(x)");
    EXPECT_EQ(stable(abs(band(n(x), 255))), "&(x 255)");
    // x * x may wrap into the sign unless the source promises that it does not.
    EXPECT_EQ(stable(abs(op(MULT, n(x), n(x)))), "ABS(*(x x))");
    NODE* square = op(MULT, n(x), n(x));
    square->flags |= NODE_NO_WRAP;
    EXPECT_EQ(stable(abs(square)), "*(x x)");
    // 0.0 - 0.0 is 0.0, its negation is not.
    SYMTAB* d = symbol("d", double_type);
    EXPECT_EQ(stable(neg(op(MINUS, n(d), n(d), double_type))), "U-(-(d d))");
}

TEST_F(Logic, ConstantsOfOneOrUnderAMaskDoNotFight) {
    // What the outer constant hides and what the mask needs choose the inner constant alike.
    NODE* sum = op(MINUS, n(c), icon(31), uchar_type);
    NODE* inner = maketree(ORB, sum, mk_ICON(INT65(0x653A), uchar_type), uchar_type);
    NODE* masked = maketree(ANDB, inner, mk_ICON(INT65(0xB), uchar_type), uchar_type);
    std::string result = stable(op(ORB, masked, icon(1)));
    EXPECT_EQ(result.find("25914"), std::string::npos) << result;
}

TEST_F(Logic, RootOfASquareOnlyWithoutStrictFloats) {
    SYMTAB* d = symbol("d", double_type);
    int saved = strict_fp;
    for (int strict : {0, 1}) {
        strict_fp = strict;
        NODE* tree = maketree(SQRT, maketree(SQR, n(d), nullptr, double_type), nullptr, double_type);
        EXPECT_EQ(stable(tree), strict ? "SQRT(SQUARE(d))" : "ABS(d)");
    }
    strict_fp = saved;
}

TEST_F(Logic, MinimumMaximumAndClamp) {
    auto choose = [&](int test, NODE* a, NODE* b, NODE* yes, NODE* no) {
        return maketree(QUEST, op(test, a, b), maketree(COLON, yes, no, yes->type), yes->type);
    };
    auto of = [&](int test, bool in_order, SYMTAB* a, SYMTAB* b) {
        NODE* tree = simp_tree(choose(test, n(a), n(b), n(in_order ? a : b), n(in_order ? b : a)));
        std::string name = tree->op == ICALL ? std::string(tree->u.name) + " " + show(tree->left) : show(tree);
        erase_tree(tree);
        return name;
    };
    EXPECT_EQ(of(LT, true, x, y), "?(<(x y) :(x y))");
    target_has_builtin = [](const char* name) { return strcmp(name, "MAXU") != 0; };
    EXPECT_EQ(of(LT, true, x, y), "MIN ,(x y)");
    EXPECT_EQ(of(LE, false, x, y), "MAX ,(x y)");
    EXPECT_EQ(of(GT, true, x, y), "MAX ,(x y)");
    EXPECT_EQ(of(GE, false, x, y), "MIN ,(x y)");
    SYMTAB *u2 = symbol("u2", uint_type), *q2 = symbol("q2", llong_type);
    EXPECT_EQ(of(ULT, true, u, u2), "MINU ,(u u2)");
    EXPECT_EQ(of(UGT, true, u, u2).substr(0, 2), "?(") << "the target has no MAXU";
    EXPECT_EQ(of(GE, true, wide, q2), "LLMAX ,(q q2)");
    SYMTAB *d = symbol("d", double_type), *e = symbol("e", double_type);
    EXPECT_EQ(of(LT, true, d, e), "DMIN ,(d e)");
    EXPECT_EQ(gone(simp_tree(choose(LT, n(x), n(y), n(x), n(z)))).substr(0, 2), "?(");
    target_has_builtin = nullptr;
    EXPECT_EQ(stable(choose(LT, n(x), icon(0), icon(0), n(x))), "*(>=(x 0) x)");
    EXPECT_EQ(stable(choose(GT, n(x), icon(0), n(x), icon(0))), "*(>=(x 0) x)");
    EXPECT_EQ(stable(choose(GT, n(x), icon(0), icon(0), n(x))).substr(0, 1), "?") << "this is the other half";
    EXPECT_EQ(stable(choose(LT, n(x), icon(2), icon(0), n(x))).substr(0, 1), "?") << "1 becomes 0";
}

TEST_F(Logic, ControlStatements) {
    auto label = [](int number) { return mk_LABELREF(INT65(number)); };
    auto target = [](const NODE* tree) { return int65_to_text(tree->u.lval); };
    auto one_case = [&](bool two) {
        NODE* entries = maketree(CASE, icon(7), label(1), int_type);
        if (two) entries = op(COMMA, entries, maketree(CASE, icon(8), label(3), int_type));
        entries = op(COMMA, entries, maketree(DEFAULT, label(2), nullptr, int_type));
        return simp_tree(maketree(SWITCH, n(x), entries, int_type));
    };
    NODE* tree = one_case(false);
    ASSERT_EQ(tree->op, IF);
    EXPECT_EQ(show(tree->left), "!=(x 7)");
    EXPECT_EQ(target(tree->right->left) + target(tree->right->right), "21") << "the default where x is not 7";
    erase_tree(tree);
    tree = one_case(true);
    EXPECT_EQ(tree->op, SWITCH);
    erase_tree(tree);

    struct HINTS {
        int first, second, first_after, second_after;
    };
    for (const HINTS& h :
         {HINTS{1, 1, 0, 0}, {-1, -1, 0, 0}, {0, 1, -1, 1}, {-1, 0, -1, 1}, {1, -1, 1, -1}, {0, 0, 0, 0}}) {
        tree = mk_IF(n(x), 1, UINT32_MAX, 2, UINT32_MAX, nullptr);
        tree->right->left->hint = static_cast<int8_t>(h.first);
        tree->right->right->hint = static_cast<int8_t>(h.second);
        tree = simp_tree(tree);
        EXPECT_EQ(tree->right->left->hint, h.first_after) << h.first << h.second;
        EXPECT_EQ(tree->right->right->hint, h.second_after) << h.first << h.second;
        erase_tree(tree);
    }
    tree = simp_tree(mk_IF(op(EQ, n(x), icon(0)), 1, UINT32_MAX, 2, UINT32_MAX, nullptr));
    EXPECT_EQ(show(tree->left) + target(tree->right->left) + target(tree->right->right), "x21");
    erase_tree(tree);

    tree = simp_tree(maketree(CBRANCH, op(NEQ, n(x), n(x)), label(4), int_type));
    ASSERT_EQ(tree->op, BRANCH);
    EXPECT_EQ(target(tree->left), "4");
    erase_tree(tree);
    tree = simp_tree(maketree(CBRANCH, op(EQ, n(x), n(x)), label(4), int_type));
    EXPECT_EQ(tree->op, ICON) << "what always jumps becomes no statement";
    erase_tree(tree);
}

TEST_F(Logic, Assertions) {
    auto fact = [&](NODE* condition, int opcode = NASSERT) {
        return stable(maketree(opcode, condition, nullptr, tp->void_type));
    };
    auto is = [&](SYMTAB* sym, int value) { return op(EQ, n(sym), icon(value)); };
    std::string a = fact(is(x, 1));
    std::string name = a.substr(0, a.find('('));
    EXPECT_EQ(a, name + "(==(x 1))");
    EXPECT_EQ(fact(icon(1)), "0");
    EXPECT_EQ(fact(icon(0)), name + "(0)") << "control does not come here";
    EXPECT_EQ(fact(icon(0), ASSERT), "0");
    EXPECT_EQ(fact(op(ANDAND, is(x, 1), is(y, 2))), ",OP(" + name + "(==(x 1)) " + name + "(==(y 2)))");
    EXPECT_EQ(fact(op(ANDB, is(x, 1), is(y, 2))), ",OP(" + name + "(==(x 1)) " + name + "(==(y 2)))");
    EXPECT_EQ(fact(op(ANDB, n(x), n(y))), name + "(&(x y))") << "two numbers may share no bit";
    EXPECT_EQ(fact(op(OROR, is(x, 1), is(y, 2))), name + "(|(==(x 1) ==(y 2)))");
    // Neither x nor y: two facts.
    EXPECT_EQ(fact(op(EQ, op(OROR, is(x, 1), is(y, 2)), icon(0))), ",OP(" + name + "(!=(x 1)) " + name + "(!=(y 2)))");
    // What the left side guards is not evaluated without it.
    NODE* guarded = op(OROR, is(x, 0), op(GT, op(DIV, n(y), n(x)), icon(3)));
    EXPECT_NE(fact(guarded).find("||"), std::string::npos);
    NODE* arms = maketree(COLON, is(y, 1), op(LT, n(z), n(w)), int_type);
    EXPECT_EQ(fact(maketree(QUEST, n(x), arms, int_type)).substr(0, name.size() + 2), name + "(?");
}
