// Nodes, tables of opcodes, copying, erasing, congruence.
#include "ir/fps.h"
#include "ir/node.h"
#include "ir/opt_expr.h"
#include "ir/pool.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <gtest/gtest.h>

namespace {

class nodes : public testing::Test {
  protected:
    void SetUp() override {
        tp = tp_alloc();
        tp->init_type_pkg();
        init_types();
    }
    TYPE* int_type() { return tp->int_type(); }
    SYMTAB* local(const char* name, TYPE* type) {
        auto* s = new SYMTAB(name, type->size(), 0, SC_AUTO, 0, type, type, type->align(), nullptr, 0);
        s->level = 2;
        s->flags = 0;
        return s;
    }
    NODE* name(SYMTAB* s) { return mk_NAME(s); }
    NODE* icon(int v) { return mk_ICON(v, int_type()); }
    NODE* bin(int op, NODE* a, NODE* b) { return maketree(op, a, b, int_type()); }
};

} // namespace

TEST_F(nodes, tables_agree_with_themselves) {
    int relations = 0;
    for (int op = 0; op < 256; op++) {
        if (boolean_inv[op] != ILLOP) {
            EXPECT_EQ(boolean_inv[boolean_inv[op]], op);
            relations++;
        }
        if (commute_inv[op] != ILLOP) { EXPECT_EQ(commute_inv[commute_inv[op]], op); }
        if (op_of_opASG[op] != ILLOP) { EXPECT_TRUE(side_effects[op]); }
        EXPECT_EQ(node_operator_name[op] == nullptr, number_of_operands[op] == ILLOP);
    }
    EXPECT_EQ(relations, 10);
    EXPECT_EQ(commute_inv[LT], GT);
    EXPECT_EQ(commute_inv[ULE], UGE);
    EXPECT_STREQ(opname(PLUS), "+       ");
    EXPECT_STREQ(opname(COMMAOP), ",OP     ");
    EXPECT_STREQ(opname(LABEL), "LABELREF");
    EXPECT_STREQ(opname(SQR), "SQUARE  ");
    EXPECT_STREQ(opname(ILLOP), " ?ILLOP?");
    EXPECT_STREQ(opname(200), "?NODE?");
}

// A row in the wrong class would let every switch over the classes treat its opcode as another one.
TEST_F(nodes, classes_agree_with_the_other_columns) {
    int members[CLASS_BUILTIN + 1] = {};
    bool assigned[256] = {}; // opcodes that have an assignment operator
    for (int op = 0; op < 256; op++) {
        SCOPED_TRACE(opname(op));
        const OPCODE_CLASS c = opcode_class(op);
        const int operands = number_of_operands[op];
        members[c]++;
        EXPECT_EQ(opcode_is_comparison(op), boolean_inv[op] != ILLOP);
        EXPECT_EQ(opcode_is_op_assignment(op), op_of_opASG[op] != ILLOP);
        if (opcode_is_op_assignment(op)) assigned[op_of_opASG[op]] = true;
        if (opcode_is_comparison(op)) { EXPECT_TRUE(boolean_result[op]); }
        if (opcode_is_unsigned_comparison(op)) { EXPECT_TRUE(opcode_is_comparison(op)); }
        if (opcode_is_store(op) || opcode_is_call(op)) { EXPECT_TRUE(side_effects[op]); }
        if (opcode_is_binary_arithmetic(op) || opcode_is_shift(op) || opcode_is_comparison(op) || opcode_is_store(op)) {
            EXPECT_EQ(operands, 2);
        }
        if (c == CLASS_UNARY) { EXPECT_EQ(operands, 1); }
        if (c != CLASS_OTHER) { EXPECT_LE(op, LAST_FILE_OPCODE); }
    }
    for (int op = 0; op < 256; op++)
        EXPECT_EQ(assigned[op], opcode_is_binary_arithmetic(op) || opcode_is_shift(op)) << opname(op);
    EXPECT_EQ(members[CLASS_LVALUE], 4);
    EXPECT_EQ(members[CLASS_UNARY], 5);
    EXPECT_EQ(members[CLASS_COMPARISON], 10);
    EXPECT_EQ(members[CLASS_CALL], 2);
    EXPECT_EQ(members[CLASS_BUILTIN], 4);
    EXPECT_TRUE(opcode_is_lvalue(NAME) && opcode_is_lvalue(UMULT) && opcode_is_lvalue(STDOT) &&
                opcode_is_lvalue(STREF));
    EXPECT_TRUE(opcode_is_ASG(ASG) && opcode_is_ASG(SRLASG) && opcode_is_ASG(STASG) && opcode_is_ASG(ARASG));
    EXPECT_TRUE(opcode_is_store(PLUSPLUS) && opcode_is_store(MINMIN) && !opcode_is_ASG(PLUSPLUS));
    EXPECT_TRUE(opcode_is_call(CALL) && opcode_is_call(UCALL) && opcode_is_builtin_call(UMCALL));
    EXPECT_EQ(opcode_class(-1), CLASS_OTHER);
    EXPECT_EQ(opcode_class(256), CLASS_OTHER);
}

TEST_F(nodes, constants_take_their_type) {
    NODE* lcon = new_node(LCON, tp->uint_type());
    lcon->mk_lcon("-1");
    EXPECT_EQ(lcon->op, ICON);
    EXPECT_EQ(lcon->u.lval, INT65(4294967295u));
    EXPECT_EQ(mk_ICON(65536 + 5, tp->short_type())->u.lval, INT65(5));
    NODE* pointer_sized = mk_ICON(3, tp->mk_ptr(int_type()));
    EXPECT_TRUE(pointer_sized->type->is_integral());
    NODE* fcon = new_node(FCON, tp->mk_fltpt(TYPE::F_DOUBLE, 64, 64));
    fcon->mk_fcon("0.1");
    EXPECT_STREQ(fcon->fcon_value(), "0x1.999999999999ap-4");
    NODE* copy = copy_tree(fcon);
    EXPECT_NE(copy->u.fval, fcon->u.fval);
    erase_tree(copy);
    EXPECT_EQ(f_ftoa("%.17g", fcon->u.fval), "0.10000000000000001");
}

TEST_F(nodes, float_text_is_rounded_once) {
    // just above the midpoint of two floats, by less than a double can tell
    NODE* fcon = new_node(FCON, tp->float_type());
    fcon->mk_fcon("1.00000005960464477540");
    EXPECT_STREQ(fcon->fcon_value(), "0x1.000002p+0");
}

TEST_F(nodes, copies_have_no_scratch_and_scope_on_request) {
    LS* scope = reinterpret_cast<LS*>(16);
    NODE* n = name(local("a", int_type()));
    n->scope = scope;
    n->flags = 3;
    n->mark[0] = 1;
    n->extra().scratch[0] = n;
    n->extra().call_index = 4;
    NODE* kept = copy_node(n, true);
    EXPECT_EQ(kept->scope, scope);
    EXPECT_EQ(kept->flags, 1 | NODE_NO_WRAP);
    EXPECT_EQ(kept->mark[0], 0);
    EXPECT_EQ(kept->ext->scratch[0], nullptr);
    EXPECT_EQ(kept->ext->call_index, 4u);
    EXPECT_EQ(copy_node(n, false)->scope, nullptr);
}

TEST_F(nodes, long_chains_do_not_recurse) {
    NODE* list = icon(0);
    NODE* right = icon(0);
    for (int i = 1; i < 300000; i++) {
        list = maketree(COMMA, list, icon(i), int_type());
        right = bin(PLUS, icon(i), right);
    }
    EXPECT_EQ(arg_list_count(list), 300000);
    EXPECT_EQ(arg_list_lookup(list, 0)->u.lval, INT65(0));
    EXPECT_EQ(arg_list_lookup(list, 299999)->u.lval, INT65(299999));
    EXPECT_EQ(arg_list_lookup(list, 300000), nullptr);
    for (NODE* tree : {list, right}) {
        NODE* copy = copy_tree(tree);
        EXPECT_EQ(count_nodes_in_tree(copy), 599999);
        erase_tree(copy);
        erase_tree(tree);
    }
}

TEST_F(nodes, erasing_twice_ends_the_run) {
    if (!NX_POOLS) GTEST_SKIP() << "without pools the sanitizer is the one that finds it";
    NODE* tree = bin(PLUS, icon(1), icon(2));
    erase_tree(tree);
    EXPECT_EXIT(erase_tree(tree), testing::ExitedWithCode(1), "ERROR IN 'erase_node'");
}

TEST_F(nodes, congruence) {
    SYMTAB* a = local("a", int_type());
    SYMTAB* b = local("b", int_type());
    SYMTAB* c = local("c", int_type());
    auto sum = [&](SYMTAB* x, SYMTAB* y, SYMTAB* z) { return bin(PLUS, bin(PLUS, name(x), name(y)), name(z)); };
    EXPECT_TRUE(trees_are_congruent(bin(LT, name(a), name(b)), bin(GT, name(b), name(a))));
    EXPECT_FALSE(trees_are_congruent(bin(LT, name(a), name(b)), bin(GT, name(a), name(b))));
    EXPECT_FALSE(trees_are_congruent(bin(MINUS, name(a), name(b)), bin(MINUS, name(b), name(a))));
    EXPECT_TRUE(trees_are_congruent(sum(a, b, c), sum(c, a, b)));
    EXPECT_TRUE(trees_are_congruent(sum(a, b, c), bin(PLUS, name(b), bin(PLUS, name(c), name(a)))));
    EXPECT_FALSE(trees_are_congruent(sum(a, b, c), sum(a, b, b)));
    NODE* store = bin(ASG, name(a), icon(1));
    EXPECT_FALSE(trees_are_congruent(store, copy_tree(store)));
    EXPECT_TRUE(trees_are_congruent_se_ok(store, copy_tree(store)));
    SYMTAB* v = local("v", tp->mk_qual(int_type(), QUAL_VOLATILE));
    EXPECT_FALSE(trees_are_congruent(name(v), name(v)));
    EXPECT_TRUE(tree_has_side_effects(name(v)));
    EXPECT_FALSE(tree_has_side_effects(mk_UAND(name(v), tp->mk_ptr(v->type))));
    EXPECT_TRUE(bools_are_congruent(bin(EQ, name(a), name(b)), bin(NEQ, name(b), name(a)), true, false));
    // the opposite of an ordering of floats is no ordering
    SYMTAB* f = local("f", tp->float_type());
    EXPECT_FALSE(tree_is_trivially_invertible(bin(LT, name(f), name(f))));
    EXPECT_TRUE(tree_is_trivially_invertible(bin(EQ, name(f), name(f))));
}

TEST_F(nodes, congruence_of_hard_trees_is_bounded) {
    SYMTAB* a = local("a", int_type());
    SYMTAB* b = local("b", int_type());
    NODE* x = name(a);
    NODE* y = name(b);
    for (int i = 0; i < 200; i++) {
        x = bin(PLUS, x, name(a));
        y = bin(PLUS, y, name(a));
    }
    EXPECT_FALSE(trees_are_congruent(x, y)); // would take years if every order were tried
}

TEST_F(nodes, assignment_operators) {
    SYMTAB* a = local("a", int_type());
    SYMTAB* b = local("b", int_type());
    NODE* tree = ASG_to_opASG(mk_ASG(name(a), bin(PLUS, name(b), name(a))));
    ASSERT_EQ(tree->op, PLUSASG);
    EXPECT_EQ(tree->right->u.sym, b);
    EXPECT_EQ(ASG_to_opASG(mk_ASG(name(a), bin(MINUS, name(b), name(a))))->op, ASG);
    // short s; s <<= 1: the shift is done in int
    SYMTAB* s = local("s", tp->short_type());
    NODE* shift = opASG_to_ASG(maketree(SLLASG, name(s), icon(1), tp->short_type()));
    ASSERT_EQ(shift->op, ASG);
    ASSERT_EQ(shift->right->op, SCONV);
    EXPECT_TRUE(shift->right->left->type->is_int());
    // the left side may not be evaluated twice
    NODE* pointer = maketree(PLUSPLUS, name(local("p", tp->mk_ptr(int_type()))), icon(2), tp->mk_ptr(int_type()));
    EXPECT_EQ(opASG_to_ASG(maketree(PLUSASG, mk_UMULT(pointer, int_type()), icon(1), int_type()))->op, PLUSASG);
}
