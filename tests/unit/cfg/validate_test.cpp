// Each case damages a sound function in one way and wants the fault that belongs to it.
#include "cfg/cfg_fixture.h"
#include "cfg/unsimplify.h"

namespace {

class Validators : public CfgTest {
  protected:
    void SetUp() override {
        CfgTest::SetUp();
        build({event(1), switch_on(in(0), {{1, 1}, {2, 2}}, 3), label(1), event(2), label(2), event(3),
               unless(in(1), 1), label(3), event(4)});
        first = f->bb_list;
    }
    static std::string all(const std::vector<std::string>& faults) {
        std::string text;
        for (const std::string& fault : faults) text += fault + "\n";
        return text;
    }
    void expect_cfg_fault(const char* what) {
        EXPECT_NE(all(cfg_faults()).find(what), std::string::npos) << all(cfg_faults());
    }
    void expect_stmt_fault(const char* what) {
        EXPECT_NE(all(stmt_faults()).find(what), std::string::npos) << all(stmt_faults());
    }
    // The statement stands first in the first block, alone with its fault.
    void expect_fault_of(NODE* stmt, const char* what) {
        first->stmts = mkelist(stmt, first->stmts, nullptr);
        expect_stmt_fault(what);
        LIST* cell = first->stmts;
        first->stmts = cell->rest;
        delete cell;
        EXPECT_TRUE(stmt_faults().empty());
    }
    BBLK* first = nullptr;
};

TEST_F(Validators, ChainsAndNumbers) {
    BBLK* second = first->dflink;
    second->dfn = 9;
    expect_cfg_fault("dfn is not its place along dflink");
    second->dfn = 2;
    std::swap(second->rdflink, first->rdflink);
    expect_cfg_fault("rdflink is");
    expect_cfg_fault("rdflink of the first block is not the last block");
    std::swap(second->rdflink, first->rdflink);
    f->bb_count++;
    expect_cfg_fault("bb_count is");
    f->bb_count--;
    BBLK* rest = second->uolink;
    second->uolink = nullptr;
    expect_cfg_fault("uolink does not hold every block");
    second->uolink = rest;
    BBLK* held = second->dflink;
    second->dflink = first;
    expect_cfg_fault("dflink leads back to it");
    second->dflink = held;
    BBLK* stray = mkbblock(nullptr, nullptr, f);
    expect_cfg_fault("a registered block is in no chain");
    erase_bblock(stray);
    delete stray;
    EXPECT_TRUE(cfg_faults().empty()) << all(cfg_faults());
}

TEST_F(Validators, Edges) {
    BBLK* join = block_with_event(3);
    EDGE* held = join->preds;
    join->preds = held->next;
    expect_cfg_fault("a predecessor is missing");
    join->preds = mkedge(f->exit_block, held);
    expect_cfg_fault("no edge, or a second cell, for its predecessor");
    join->preds = remove_edge(f->exit_block, join->preds);
    first->succs = mkedge(first->succs->bb, first->succs);
    expect_cfg_fault("no target, or a second edge");
    EDGE* twin = first->succs;
    first->succs = twin->next;
    delete twin;
    held = first->succs;
    first->succs = held->next;
    expect_cfg_fault("a target has no edge");
    first->succs = held;
    EXPECT_TRUE(cfg_faults().empty()) << all(cfg_faults());
}

TEST_F(Validators, Labels) {
    NODE* ref = terminator_of(first)->right->right->left;
    LBL* held = ref->lbl;
    ref->lbl = nullptr;
    expect_cfg_fault("is not bound to a block of the function");
    LBL foreign(held->index, nullptr, held->bb);
    ref->lbl = &foreign;
    expect_cfg_fault("refers to a label that");
    ref->lbl = held;
    ref->u.lval = INT65(77);
    expect_cfg_fault("has a number other than its label's");
    ref->u.lval = INT65(held->index);
    int32_t number = held->index;
    held->index = first->dflink->labels == held ? f->exit_block->labels->index : first->dflink->labels->index;
    expect_cfg_fault("is used twice");
    held->index = number;
    held->bb = first;
    expect_cfg_fault("belongs to another block");
    held->bb = ref->lbl->bb = block_with_event(4);
    EXPECT_TRUE(cfg_faults().empty()) << all(cfg_faults());
    renumber_bblocks();
    held->refcount++;
    EXPECT_NE(all(label_count_faults()).find("references, there are"), std::string::npos);
    held->refcount--;
    EXPECT_TRUE(label_count_faults().empty());
}

TEST_F(Validators, Terminators) {
    LIST* jump = last_stmt_cell(block_with_event(4));
    jump->rest = mkelist(event(5), nullptr, nullptr);
    expect_cfg_fault("does not end in a control statement");
    expect_cfg_fault("a control statement that is not the last");
    jump->rest = erase_tree_list(jump->rest);
    NODE* held = jump->first;
    jump->first = uret();
    expect_cfg_fault("stands outside the exit block");
    erase_tree(jump->first);
    jump->first = label(5);
    expect_cfg_fault("does not belong into a block");
    erase_tree(jump->first);
    jump->first = held;
    NODE* stmt = terminator_of(first);
    NODE* list = stmt->right;
    stmt->right = list->left;
    expect_cfg_fault("malformed control statement");
    expect_stmt_fault("has not a list of CASEs that ends in a DEFAULT");
    stmt->right = list;
    stmt->u.lval = INT65(3);
    expect_stmt_fault("the count of CASEs is wrong");
    stmt->u.lval = INT65(2);
    list->left->left->left->u.lval = INT65(2);
    expect_stmt_fault("two CASEs have one value");
    list->left->left->left->u.lval = INT65(1);
    NODE* name = f->exit_block->stmts->first->left;
    name->u.sym = out;
    expect_cfg_fault("the exit block is not a single URETURN of the function");
    name->u.sym = function;
    EXPECT_TRUE(cfg_faults().empty());
    EXPECT_TRUE(stmt_faults().empty());
}

TEST_F(Validators, SharingAndErasedNodes) {
    EXPECT_TRUE(sharing_faults().empty());
    NODE* stmt = block_with_event(2)->stmts->first;
    NODE* held = stmt->right;
    stmt->right = block_with_event(3)->stmts->first->right;
    EXPECT_NE(all(sharing_faults()).find("reached a second time"), std::string::npos);
    stmt->right = held;
    EXPECT_TRUE(sharing_faults().empty()) << "the scan leaves no marks";
    int op = held->op;
    held->op = ILLOP;
    EXPECT_NE(all(sharing_faults()).find("erased node"), std::string::npos);
    held->op = op;
    // The shared side of a CSE_DUPE belongs to another statement.
    stmt->right = maketree(CSE_DUPE, held, block_with_event(3)->stmts->first->right, int_type);
    EXPECT_TRUE(sharing_faults().empty());
}

TEST_F(Validators, Trees) {
    TYPE* pointer = tp->mk_ptr(int_type);
    TYPE* record = tp->mk_struct("R");
    record->size_bits = 32;
    record->align_bits = 32;
    expect_fault_of(mk_ASG(num(1), num(2)), "the target is no lvalue");
    expect_fault_of(maketree(ASG, mk_NAME(out), nullptr, int_type), "has not the operands of its opcode");
    expect_fault_of(maketree(ASG, mk_NAME(out), num(1), nullptr), "has no type");
    expect_fault_of(maketree(EQ, in(0), num(1), tp->double_type()), "a truth value of a type that is no integer");
    expect_fault_of(mk_UAND(binary(PLUS, in(0), in(1)), pointer), "the address of something that is no object");
    expect_fault_of(mk_UMULT(in(0), int_type), "the operand is no pointer");
    expect_fault_of(mk_ASG(mk_NAME(out), mk_LABELREF(INT65(1))), "a label reference outside a control statement");
    expect_fault_of(mk_ASG(mk_NAME(out), go(1)), "a statement inside an expression");
    expect_fault_of(maketree(COMMA, num(1), num(2), int_type), "a COMMA that is no list");
    expect_fault_of(maketree(QUEST, in(0), num(1), int_type), "stands where a COLON must stand");
    expect_fault_of(maketree(COLON, in(0), num(1), int_type), "a COLON outside a QUEST");
    expect_fault_of(maketree(PLUSPLUS, mk_NAME(out), in(0), int_type), "the step is no ICON");
    expect_fault_of(maketree(STARG, in(0), nullptr, record), "the argument is no struct");
    expect_fault_of(maketree(PCOMMA, event(1), event(2), tp->void_type), "a PCOMMA that is no prolog");
    expect_fault_of(maketree(CASE, num(1), mk_LABELREF(INT65(1)), int_type), "stands outside a SWITCH");
    expect_fault_of(maketree(35, nullptr, nullptr, int_type), "no opcode");
    expect_fault_of(mk_SCONV(in(0), pointer), "SCONV to a pointer");
    expect_fault_of(mk_PCONV(in(0), int_type), "PCONV to a type that is no pointer");
    NODE* wide = num(1);
    wide->u.lval = INT65(1ll << 40);
    expect_fault_of(mk_ASG(mk_NAME(out), wide), "a value outside its type");
    NODE* null_pointer = num(0);
    null_pointer->type = pointer;
    expect_fault_of(mk_ASG(mk_NAME(out), null_pointer), "ICON of a type that is no integer");
}

TEST_F(Validators, ValidateFunctionNamesStepFunctionAndBlock) {
    f->bb_list->dflink->dfn = 9;
    EXPECT_EXIT(validate_function("simpcfg"), ::testing::ExitedWithCode(1),
                "after step 'simpcfg', function _f: BB#[0-9]+ \\(dfn 9\\): dfn is not its place");
}

// --------------------------------------------------------------------------------------------------------- unsimplify

class Unsimplify : public CfgTest {};

TEST_F(Unsimplify, InternalOpcodesGo) {
    TYPE* pointer = tp->mk_ptr(int_type);
    SYMTAB* p = variable("p", pointer, 2);
    auto lowered = [&](NODE* tree) {
        tree = unsimplify_tree(tree);
        std::string ops;
        walk_tree(tree, [&](NODE* node) { ops += std::string(node_operator_name[node->op]) + " "; });
        return std::pair{tree, ops};
    };
    EXPECT_EQ(lowered(maketree(ISP2CHAR, mk_NAME(p), nullptr, pointer)).second, "NAME PCONV ");
    EXPECT_EQ(lowered(maketree(IDENTITY, maketree(OUIALIGN, in(0), nullptr, int_type), nullptr, int_type)).second,
              "NAME ");
    EXPECT_EQ(lowered(maketree(INITLOOP, in(0), event(1), int_type)).second, "NAME ICON ASG ");
    EXPECT_EQ(lowered(maketree(UMULT, mk_NAME(p), num(3), int_type)).second, "NAME ICON PLUS UMULT ");
    EXPECT_EQ(lowered(maketree(EXPT, in(0), num(3), int_type)).second, "NAME NAME MULT NAME MULT ");
    EXPECT_EQ(lowered(maketree(EXPT, in(0), num(0), int_type)).second, "ICON ");
    EXPECT_DEATH(unsimplify_tree(maketree(EXPT, in(0), in(1), int_type)), "a power");
    NODE* args = maketree(COMMA, maketree(COMMA, in(0), num(1), int_type), num(2), int_type);
    EXPECT_EQ(lowered(mk_ICALL("__sqc", args, int_type)).second, "NAME ICON ICON COLON QUEST ");
    NODE* claim = maketree(COMMA, in(0), maketree(NASSERT, in(1), nullptr, int_type), int_type);
    EXPECT_EQ(lowered(mk_ICALL("def$assert", claim, int_type)).second, "NAME ");
    EXPECT_EQ(lowered(mk_ICALL("other", in(0), int_type)).second, "NAME ICALL ");
    NODE* quest = maketree(QUEST, in(0), maketree(COLON, mk_PCONV(num(1), pointer), nullptr, pointer), pointer);
    EXPECT_EQ(lowered(quest).second, "NAME ICON PCONV ICON PCONV COLON QUEST ");
}

TEST_F(Unsimplify, SharedValuesBecomeCopiesEvenWhenTheirOwnerChanges) {
    NODE* shared = maketree(IDENTITY, binary(PLUS, in(0), in(1)), nullptr, int_type);
    NODE* owner = maketree(CSE_ORIG, in(2), shared, int_type);
    NODE* user = maketree(CSE_DUPE, in(2), shared, int_type);
    build({mk_ASG(mk_NAME(out), owner), mk_ASG(mk_NAME(out), user)});
    unsimplify();
    expect_valid("unsimplify");
    const LIST* cell = f->bb_list->stmts;
    EXPECT_EQ(cell->first->right->op, PLUS);
    EXPECT_EQ(cell->rest->first->right->op, PLUS);
    EXPECT_NE(cell->first->right, cell->rest->first->right);
}

TEST_F(Unsimplify, ArmsWithEffectsOfAStrictTernaryRunBoth) {
    NODE* args = maketree(COMMA, maketree(COMMA, in(0), event(5), int_type), event(6), int_type);
    NODE* tree = unsimplify_tree(mk_ICALL("__sqc", args, int_type));
    MACHINE m{1, {}, 0, {}};
    const NODE* effects = tree->left;
    ASSERT_EQ(tree->op, COMMAOP);
    eval(m, effects);
    EXPECT_EQ(m.result.events, (std::vector<long>{5, 6}));
    EXPECT_EQ(tree->right->op, QUEST);
}

} // namespace
