#include "cfg/cfg_fixture.h"

#include <ctime>

namespace {

class SimpCfg : public CfgTest {
  protected:
    void simplify(bool before_writing = false) {
        simpcfg(before_writing, false);
        expect_valid("simpcfg");
        EXPECT_FALSE(simpcfg(before_writing, false)) << "a second call finds more";
    }
    int count_op(int op) {
        int n = 0;
        for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
            for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) n += cell->first->op == op;
        return n;
    }
};

TEST_F(SimpCfg, NestOfEmptyConditionalsVanishes) {
    std::vector<NODE*> stmts;
    for (int i = 1; i <= 40; i++) stmts.push_back(unless(in(i % 6), i));
    for (int i = 40; i >= 1; i--) stmts.push_back(label(i));
    stmts.push_back(event(1));
    build(stmts);
    simplify();
    EXPECT_EQ(count_op(IF), 0);
    EXPECT_EQ(count_blocks(), 2);
}

TEST_F(SimpCfg, EffectOfADroppedConditionStays) {
    build({unless(binary(EQ, event(7), num(1)), 1), label(1), event(2)});
    simplify();
    EXPECT_EQ(run_blocks(0).events, (std::vector<long>{7, 2}));
    EXPECT_EQ(count_op(IF), 0);
}

TEST_F(SimpCfg, SwitchOnAConstant) {
    build({switch_on(num(2), {{1, 1}, {2, 2}}, 3), label(1), event(1), label(2), event(2), label(3), event(3)});
    simplify();
    EXPECT_EQ(run_blocks(0).events, (std::vector<long>{2, 3}));
    EXPECT_EQ(count_blocks(), 2);
}

TEST_F(SimpCfg, SwitchThatLostItsDefaultGetsOne) {
    build({switch_on(in(0), {{1, 1}, {2, 2}}, 3), label(1), event(1), uret(), label(2), event(2), uret(), label(3),
           event(3)});
    NODE* stmt = terminator_of(f->bb_list);
    NODE* list = stmt->right;
    stmt->right = list->left;
    erase_tree(list->right);
    list->left = list->right = nullptr;
    erase_node(list);
    f->bb_list->succs = remove_edge(block_with_event(3), f->bb_list->succs);
    simplify();
    EXPECT_EQ(terminator_of(f->bb_list)->op, SWITCH);
    EXPECT_EQ(block_with_event(3), nullptr);
}

TEST_F(SimpCfg, PragmasStayInFrontOfTheirLoop) {
    build({unless(in(0), 1), pragma(41), label(2), event(1), unless(in(1), 2), label(1), event(2)});
    simplify();
    bool kept = false;
    for (EDGE* edge = block_with_event(1)->preds; edge != nullptr; edge = edge->next)
        kept |= edge->bb->stmts->first->op == PPRAGMA;
    EXPECT_TRUE(kept);
}

TEST_F(SimpCfg, RingOfEmptyBlocksStaysARing) {
    build({event(1), label(1), go(2), label(3), go(1), label(2), go(3)});
    simplify();
    EXPECT_EQ(run_blocks(0).end, "stuck");
    EXPECT_LE(count_blocks(), 3);
}

TEST_F(SimpCfg, FirstBlockStaysFirstWithTheProlog) {
    parameter("a");
    // Control comes back to the code right behind the prolog.
    build({prolog(), label(1), event(1), unless(in(0), 1)});
    simplify();
    EXPECT_EQ(f->bb_list->stmts->first->op, ASG);
    EXPECT_EQ(f->bb_list->preds, nullptr);
    drop_function();
    start_function();
    formals.clear();
    // A first block with a predecessor is not joined to it.
    build({event(1), unless(in(0), 1), event(2), go(1), label(1), event(3)});
    simplify();
    EXPECT_NE(block_with_event(1), nullptr);
    EXPECT_EQ(block_with_event(1), f->bb_list);
}

TEST_F(SimpCfg, ExitBlockGoesOnlyBeforeWriting) {
    build({ret(num(1))});
    simplify();
    EXPECT_EQ(count_blocks(), 2);
    simplify(true);
    EXPECT_EQ(count_blocks(), 1);
    EXPECT_EQ(f->exit_block, nullptr);
}

TEST_F(SimpCfg, AssertionsAreNotJumpedOver) {
    NODE* fact = maketree(NASSERT, in(1), nullptr, int_type);
    build({unless(in(0), 1), fact, label(1), event(1)});
    simplify();
    EXPECT_EQ(count_op(NASSERT), 1);
}

// Twenty thousand blocks of each shape that could make the clean-up quadratic.
TEST_F(SimpCfg, LargeFunctionsTakeLinearTime) {
    constexpr int n = 20000;
    std::vector<NODE*> stmts;
    std::vector<std::pair<long, int>> cases;
    for (int i = 0; i < n; i++) cases.push_back({i, i + 10});
    stmts.push_back(switch_on(in(0), cases, 5));
    for (int i = 0; i < n; i++) { // each case a chain of two blocks, all to one place
        stmts.push_back(label(i + 10));
        stmts.push_back(event(i));
        stmts.push_back(go(i + 10 + n));
        stmts.push_back(label(i + 10 + n));
        stmts.push_back(event(-i));
        stmts.push_back(go(5));
    }
    stmts.push_back(label(5));
    for (int i = 0; i < n; i++) stmts.push_back(unless(in(i % 6), 3 * n + i)); // a deep nest of nothing
    for (int i = n - 1; i >= 0; i--) stmts.push_back(label(3 * n + i));
    std::clock_t start = std::clock(); // other work on the machine does not count
    body(stmts);
    seq_trees();
    buildcfg();
    simpcfg(false, false);
    optimize_SWITCH_cases();
    rotate_loops();
    straighten_traces_in_cfg();
    expect_valid("all");
    double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    EXPECT_EQ(count_op(IF), 0);
    EXPECT_LT(seconds, 20.0); // under a second; a quadratic step would take minutes
}

// ------------------------------------------------------------------------------------------------------------ SWITCH

TEST_F(SimpCfg, CasesThatGoToTheDefaultAreDropped) {
    build({switch_on(in(0), {{1, 1}, {2, 9}, {3, 1}, {4, 2}}, 9), label(1), event(1), label(2), event(2), label(9)});
    optimize_SWITCH_cases();
    expect_valid("optimize_SWITCH_cases");
    const NODE* end = terminator_of(f->bb_list);
    ASSERT_EQ(end->op, SWITCH);
    EXPECT_EQ(end->u.lval, INT65(3));
}

TEST_F(SimpCfg, SingleCaseBecomesATestOfBothTypes) {
    build({switch_on(mk_NAME(variable("c", tp->short_type(), 2)), {{1, 1}, {2, 9}}, 9), label(1), event(1), label(9)});
    optimize_SWITCH_cases();
    expect_valid("optimize_SWITCH_cases");
    const NODE* end = terminator_of(f->bb_list);
    ASSERT_EQ(end->op, IF);
    ASSERT_EQ(end->left->op, EQ);
    EXPECT_TRUE(equiv_mtypes(end->left->left->type, end->left->right->type));
    EXPECT_EQ(end->right->left->lbl->bb, block_with_event(1));
}

TEST_F(SimpCfg, SwitchWithOneWayIsABranch) {
    build({switch_on(event(5), {{1, 9}, {2, 9}}, 9), label(9), event(6)});
    optimize_SWITCH_cases();
    expect_valid("optimize_SWITCH_cases");
    EXPECT_EQ(count_op(SWITCH), 0);
    EXPECT_EQ(run_blocks(0).events, (std::vector<long>{5, 6}));
}

} // namespace
