// Assignments: what goes, what stays, and in which order things happen.
#include "simp_fixture.h"

#include "simp/rules.h"

class Assignments : public Simplify {
  protected:
    void SetUp() override {
        Simplify::SetUp();
        g = global("g", int_type);
        h = global("h", int_type);
        x = symbol("x", int_type);
        y = symbol("y", int_type);
        p = symbol("p", tp->mk_ptr(int_type));
        c = symbol("c", char_type);
        gc = global("gc", tp->uchar_type()->normalized());
        for (SYMTAB* sym : {x, y, p, c}) sym->flags &= static_cast<uint8_t>(~SYM_ALIASED); // nobody takes their address
    }
    NODE* op(int opcode, NODE* a, NODE* b, TYPE* type = nullptr) {
        return maketree(opcode, a, b, type != nullptr ? type : a->type);
    }
    NODE* n(SYMTAB* sym) { return name(sym); }
    NODE* star() { return deref(n(p)); }

    std::string stable(NODE* tree) {
        tree = simp_tree(tree);
        std::string once = show(tree);
        tree = simp_tree(tree);
        EXPECT_EQ(show(tree), once) << "simplified twice";
        erase_tree(tree);
        return once;
    }

    SYMTAB *g = nullptr, *h = nullptr, *x = nullptr, *y = nullptr, *p = nullptr, *c = nullptr, *gc = nullptr;
};

TEST_F(Assignments, LocalsCountWithAssignmentsOthersWithOperators) {
    EXPECT_EQ(stable(asg(n(x), op(PLUS, n(x), icon(1)))), "=(x +(x 1))");
    EXPECT_EQ(stable(op(PLUSASG, n(x), icon(1))), "=(x +(x 1))");
    EXPECT_EQ(stable(asg(star(), op(PLUS, star(), icon(1)))), "+=(U*32(p) 1)");
    EXPECT_EQ(stable(op(MINUSASG, n(g), icon(5))), "+=(g -5)");
    EXPECT_EQ(stable(asg(n(g), op(PLUS, op(PLUS, n(x), n(g)), icon(3)))), "+=(g +(x 3))");
    EXPECT_EQ(stable(asg(n(g), op(MINUS, op(PLUS, n(g), n(x)), n(y)))), "+=(g -(x y))");
    EXPECT_EQ(stable(op(MULTASG, n(x), n(y))), "*=(x y)");
}

TEST_F(Assignments, OperatorsOfMixedTypes) {
    // gc = gc / x computes in int either way; x = x / u would be unsigned as an operator.
    NODE* wide = mk_SCONV(n(gc), int_type);
    EXPECT_EQ(stable(asg(n(gc), mk_SCONV(op(DIV, wide, n(x)), gc->type))), "/=(gc x)");
    SYMTAB* u = symbol("u", uint_type);
    EXPECT_EQ(stable(asg(n(g), op(DIV, n(g), mk_SCONV(n(u), int_type), int_type))), "/=(g SCONV32(u))");
    EXPECT_EQ(stable(op(DIVASG, n(g), mk_SCONV(n(u), int_type))), "/=(g SCONV32(u))");
    // The sum is cut to 16 bits anyway.
    EXPECT_EQ(stable(op(PLUSASG, n(gc), op(ANDB, n(x), icon(0xFFFF)))), "+=(gc x)");
    EXPECT_EQ(stable(op(PLUSASG, n(gc), op(ANDB, n(x), icon(0xFFF)))), "+=(gc &(x 4095))");
}

TEST_F(Assignments, OnlyWhatIsKeptMatters) {
    EXPECT_EQ(stable(asg(n(c), mk_SCONV(n(x), char_type))), "=(c x)");
    EXPECT_EQ(stable(asg(n(c), op(ANDB, n(x), icon(0xFFFF)))), "=(c x)");
    EXPECT_EQ(stable(asg(n(c), op(ANDB, n(x), icon(0x7FFF)))), "=(c &(x 32767))");
    // Narrowed and widened again: the bits between matter.
    EXPECT_EQ(stable(asg(n(x), mk_SCONV(mk_SCONV(n(y), char_type), int_type))), "=(x SCONV16(y))");
    EXPECT_EQ(stable(asg(n(c), icon(0x12345))), "=(c 9029)");
    TYPE* s = structure("s", {{"f", int_type, 3}, {"b", uint_type, 1}});
    SYMTAB* v = symbol("v", s);
    EXPECT_EQ(stable(asg(dot(n(v), 0), icon(13))), "=(.32(v f) -3)");
    EXPECT_EQ(stable(asg(dot(n(v), 0), op(ANDB, n(x), icon(7)))), "=(.32(v f) x)");
    EXPECT_EQ(stable(asg(dot(n(v), 0), op(ANDB, n(x), icon(3)))), "=(.32(v f) &(x 3))");
}

TEST_F(Assignments, Nested) {
    EXPECT_EQ(stable(asg(n(g), asg(n(c), icon(0)))), ",OP(=(c 0) =(g 0))");
    EXPECT_EQ(stable(asg(n(x), asg(n(x), n(y)))), "=(x y)");
    EXPECT_EQ(stable(asg(n(x), asg(n(g), n(y)))), "=(g =(x y))");
    // Not from the local: the target's address reads it, others may see it, or the field keeps less.
    SYMTAB* a = symbol("a", int_type);
    EXPECT_EQ(stable(asg(n(a), asg(n(g), n(y)))), "=(a =(g y))");
    NODE* indexed = mk_UMULT(op(PLUS, n(p), n(x), p->type), int_type);
    NODE* tree = simp_tree(asg(n(x), asg(indexed, n(y))));
    EXPECT_EQ(tree->left->op, NAME);
    EXPECT_EQ(tree->right->left->op, UMULT);
    erase_tree(tree);
    TYPE* s = structure("s", {{"f", int_type, 3}});
    EXPECT_EQ(stable(asg(n(x), asg(dot(n(symbol("v", s)), 0), n(y)))), "=(x =(.32(v f) y))");
}

TEST_F(Assignments, ToItself) {
    EXPECT_EQ(stable(asg(n(x), n(x))), "x");
    SYMTAB* v = global("v", volatile_of(int_type));
    EXPECT_EQ(stable(asg(n(v), n(v))), "=(v v)");
    EXPECT_EQ(stable(op(PLUSASG, n(v), icon(1), int_type)), "+=(v 1)");
}

TEST_F(Assignments, CallsKeepTheirPlace) {
    // The call may change g: it is read before it in the sum, after it by the operator.
    EXPECT_EQ(stable(asg(n(g), op(PLUS, n(g), call()))), "=(g +(g UCALL(U&(_f))))");
    EXPECT_EQ(stable(op(PLUSASG, n(g), call())), "+=(g UCALL(U&(_f)))");
    EXPECT_EQ(stable(asg(n(g), op(PLUS, call(), n(g)))), "+=(g UCALL(U&(_f)))");
    // A private variable does not mind.
    EXPECT_EQ(stable(asg(n(x), op(PLUS, n(x), call()))), "+=(x UCALL(U&(_f)))");
}

TEST_F(Assignments, TheProlog) {
    SYMTAB* parameter = symbol("a", int_type, SC_PARM_REG, 1);
    SYMTAB* copy = symbol("a", int_type);
    NODE* prolog = asg(n(copy), mk_SCONV(mk_SCONV(n(parameter), char_type), int_type));
    EXPECT_EQ(simp_node(prolog), prolog);
    EXPECT_EQ(gone(prolog), "=(a SCONV32(SCONV16(a)))");
}
