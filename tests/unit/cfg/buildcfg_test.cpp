#include "cfg/cfg_fixture.h"

#include <set>

namespace {

using BuildCfg = CfgTest;

TEST_F(BuildCfg, EmptyBodyBranchesToTheExitBlock) {
    build({});
    ASSERT_EQ(count_blocks(), 2);
    EXPECT_EQ(terminator_of(f->bb_list)->op, BRANCH);
    EXPECT_EQ(f->bb_list->succs->bb, f->exit_block);
    EXPECT_EQ(terminator_of(f->exit_block)->op, URETURN);
}

TEST_F(BuildCfg, StatementsBehindAJumpWithoutLabelDisappear) {
    build({event(1), go(1), event(2), label(1), event(3)});
    EXPECT_EQ(block_with_event(2), nullptr);
    EXPECT_EQ(run_blocks(0).events, (std::vector<long>{1, 3}));
}

TEST_F(BuildCfg, LabelAtTheStartIsJoinedByABranch) {
    build({label(1), event(1), unless(in(0), 1)});
    EXPECT_EQ(f->bb_list->stmts->first->op, BRANCH);
    EXPECT_EQ(f->bb_list->succs->bb, block_with_event(1));
    EXPECT_EQ(edge_length(block_with_event(1)->preds), 2);
}

TEST_F(BuildCfg, SwitchWithoutDefaultTakesTheBranchBehindIt) {
    build({switch_on(in(0), {{1, 5}}, 0), go(6), label(5), event(5), label(6), event(6)});
    const NODE* end = terminator_of(f->bb_list);
    ASSERT_EQ(end->op, SWITCH);
    ASSERT_EQ(end->right->right->op, DEFAULT);
    EXPECT_EQ(end->right->right->left->lbl->bb, block_with_event(6));
}

TEST_F(BuildCfg, SwitchWithoutDefaultGoesOnBehindIt) {
    build({switch_on(in(0), {{1, 5}, {2, 5}}, 0), event(4), label(5), event(5)});
    EXPECT_EQ(terminator_of(f->bb_list)->right->right->left->lbl->bb, block_with_event(4));
    // A label right behind the SWITCH is that place, too.
    drop_function();
    start_function();
    build({switch_on(in(0), {{1, 6}}, 0), label(5), event(5), go(7), label(6), event(6), go(5), label(7)});
    EXPECT_EQ(terminator_of(f->bb_list)->right->right->left->lbl->bb, block_with_event(5));
}

TEST_F(BuildCfg, AllNumbersOfABlockStandForItsFirstLabel) {
    build({unless(in(0), 2), event(1), unless(in(1), 1), event(2), label(1), label(2), event(3)});
    std::set<const LBL*> used;
    BBLK* join = block_with_event(3);
    for (EDGE* edge = join->preds; edge != nullptr; edge = edge->next)
        for_each_target(terminator_of(edge->bb), [&](NODE* ref) {
            if (ref->lbl->bb == join) used.insert(ref->lbl);
        });
    EXPECT_EQ(used, std::set<const LBL*>{join->labels});
}

TEST_F(BuildCfg, PragmaInFrontOfThePrologComesBehindIt) {
    parameter("a");
    parameter("b");
    build({pragma(41), prolog(), event(1)});
    EXPECT_EQ(f->bb_list->stmts->first->op, PCOMMA);
    EXPECT_EQ(f->bb_list->stmts->rest->first->op, PPRAGMA);
    ASSERT_NE(f->arg_tree, nullptr);
    EXPECT_NE(f->arg_tree, f->bb_list->stmts->first);
}

TEST_F(BuildCfg, ExitBlockStaysWithoutPredecessors) {
    build({ret(num(1))});
    ASSERT_EQ(count_blocks(), 2);
    EXPECT_EQ(f->bb_list->rdflink, f->exit_block);
    EXPECT_EQ(f->exit_block->preds, nullptr);
}

TEST_F(BuildCfg, OrderIsReversePostorder) {
    build(
        {unless(in(0), 1), event(1), go(2), label(1), event(2), label(2), event(3), unless(in(1), 9), go(2), label(9)});
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (EDGE* edge = bb->preds; edge != nullptr; edge = edge->next)
            EXPECT_TRUE(edge->bb->dfn < bb->dfn || bb == block_with_event(3));
}

TEST_F(BuildCfg, UndefinedAndDoubleLabelsEndTheRun) {
    body({go(7)});
    seq_trees();
    EXPECT_DEATH(buildcfg(), "ERROR IN 'find_label', INDEX=7 !!!");
    drop_function();
    start_function();
    body({label(3), event(1), label(4), label(3)});
    seq_trees();
    EXPECT_DEATH(buildcfg(), "label 3 is defined twice");
}

TEST_F(BuildCfg, LabelNumbersOfTheInputArePositive) {
    for (int n : {0, -1, -2, -5}) {
        body({label(n), event(1)});
        EXPECT_DEATH(seq_trees(), "malformed label number") << n;
        drop_function();
        start_function();
    }
}

TEST_F(BuildCfg, SeqTreesSplitsAndFoldsInOrderAndIsIdempotent) {
    NODE* pair = mk_COMMAOP(mk_COMMAOP(event(1), event(2)), event(3));
    NODE* hidden = unless(mk_COMMAOP(event(4), in(0)), 1);
    body({pair, hidden, unless(num(1), 1), unless(num(0), 2), event(5), label(1), event(6), label(2),
          ret(mk_COMMAOP(event(7), num(8)))});
    seq_trees();
    auto texts = [&] {
        std::string all;
        for (LIST* cell = f->statements; cell != nullptr; cell = cell->rest)
            all += std::to_string(cell->first->op) + " ";
        return all;
    };
    std::string first = texts();
    seq_trees();
    EXPECT_EQ(texts(), first);
    std::vector<int> ops;
    for (LIST* cell = f->statements; cell != nullptr; cell = cell->rest) ops.insert(ops.begin(), cell->first->op);
    EXPECT_EQ(ops,
              (std::vector<int>{ASG, ASG, ASG, ASG, IF, LABELDEF, BRANCH, ASG, LABELDEF, ASG, LABELDEF, ASG, RETURN}));
    EXPECT_LT(static_cast<int32_t>(f->statements->rest->rest->rest->rest->rest->rest->rest->first->u.lval.low), -1);
}

TEST_F(BuildCfg, SeqTreesPutsSwitchListsInOrder) {
    NODE* stmt = switch_on(in(0), {{1, 1}, {2, 2}, {1, 2}}, 0);
    stmt->right = maketree(COMMA, maketree(DEFAULT, mk_LABELREF(INT65(3)), nullptr, int_type), stmt->right, int_type);
    body({stmt, label(1), event(1), label(2), event(2), label(3)});
    EXPECT_DEATH(seq_trees(), "malformed SWITCH"); // a list on the right of a list
    drop_function();
    start_function();
    stmt = switch_on(in(0), {{1, 1}, {2, 2}, {1, 2}}, 3);
    std::swap(stmt->right->left->left->right, stmt->right->right); // DEFAULT second
    build({stmt, label(1), event(1), label(2), event(2), label(3)});
    const NODE* end = terminator_of(f->bb_list);
    EXPECT_EQ(end->right->right->op, DEFAULT);
    EXPECT_EQ(end->u.lval, INT65(2)); // the second CASE 1 can never be taken
    drop_function();
    start_function();
    NODE* lone = maketree(SWITCH, in(0), maketree(DEFAULT, mk_LABELREF(INT65(1)), nullptr, int_type), int_type);
    build({lone, event(1), label(1), event(2)});
    EXPECT_EQ(run_blocks(0).events, (std::vector<long>{2}));
}

// ----------------------------------------------------------------------------------------------------- blocks, edges

TEST_F(BuildCfg, EdgeListsKeepOlderProbabilitiesAndOrder) {
    build({unless(in(0), 1), event(1), label(1), event(2)});
    BBLK *a = f->bb_list, *b = block_with_event(1), *c = block_with_event(2);
    EDGE* list = add_edge(b, nullptr, 0.25);
    list = add_edge(b, list, 0.5);
    EXPECT_EQ(edge_length(list), 1);
    EXPECT_EQ(list->probability, 0.25);
    list = add_edge(c, list);
    list = add_edge(a, list);
    list = rev_edge_list(list);
    EDGE* head = list;
    EXPECT_EQ(sort_edge_list(list), head);
    auto order = [&] {
        std::vector<BBLK*> blocks;
        for (EDGE* e = list; e != nullptr; e = e->next) blocks.push_back(e->bb);
        return blocks;
    };
    EXPECT_EQ(order(), (std::vector<BBLK*>{a, b, c}));
    list = fast_sort_edge_list(rev_edge_list(list));
    EXPECT_EQ(order(), (std::vector<BBLK*>{a, b, c}));
    EXPECT_EQ(edge_length(remove_edge(a, list = remove_edge(b, list))), 1);
}

TEST_F(BuildCfg, SortOfEdgesIsStable) {
    std::vector<BBLK*> blocks;
    EDGE* list = nullptr;
    for (int dfn : {2, 1, 2, 1, 3, 2}) {
        BBLK* bb = mkbblock(nullptr, nullptr, f);
        bb->dfn = dfn;
        blocks.push_back(bb);
        list = mkedge(bb, list);
    }
    list = sort_edge_list(rev_edge_list(list));
    std::vector<uint32_t> order;
    for (EDGE* e = list; e != nullptr; e = e->next) order.push_back(e->bb->serial);
    EXPECT_EQ(order, (std::vector<uint32_t>{1, 3, 0, 2, 5, 4}));
    erase_edge_list(list);
}

TEST_F(BuildCfg, EveryChangeOfEdgesMakesTheDominatorsStale) {
    build({event(1)});
    for (int which = 0; which < 4; which++) {
        f->dominator_stale = false;
        EDGE* list = which == 0 ? mkedge(f->bb_list, nullptr) : add_edge(f->bb_list, nullptr);
        if (which == 2) list = remove_edge(f->bb_list, list);
        if (which == 3) delink_old_bb(insert_new_bb(0, f->bb_list, nullptr));
        EXPECT_TRUE(f->dominator_stale) << which;
        erase_edge_list(list);
    }
}

TEST_F(BuildCfg, SplitBlockMovesStatementsAndEdges) {
    build({event(1), event(2), unless(in(0), 1), event(3), label(1), event(4)});
    BBLK* first = f->bb_list;
    BBLK* back = split_block(first, first->stmts, true);
    renumber_bblocks();
    expect_valid("split_block");
    EXPECT_EQ(first->stmts->rest->first->op, BRANCH);
    EXPECT_EQ(back, block_with_event(2));
    EXPECT_EQ(edge_length(back->succs), 2);
}

TEST_F(BuildCfg, SplitBlockInFrontOfAStatement) {
    build({event(1), event(2), event(3)});
    BBLK* back = split_block(f->bb_list, f->bb_list->stmts->rest, false);
    renumber_bblocks();
    expect_valid("split_block");
    EXPECT_EQ(back, block_with_event(2));
    EXPECT_EQ(run_blocks(0).events, (std::vector<long>{1, 2, 3}));
}

TEST_F(BuildCfg, SplitOfACriticalEdgeLeavesTheBackEdgeAlone) {
    // Two tests lead to the join; the loop goes back from its test.
    build({unless(in(0), 1), event(1), unless(in(1), 2), event(2), label(1), event(3), unless(in(2), 1), label(2),
           event(4)});
    BBLK *head = block_with_event(3), *tail = head, *join = block_with_event(4);
    ASSERT_TRUE(edge_memberp(head, tail->succs));
    split_critical_edges(false);
    renumber_bblocks();
    expect_valid("split_critical_edges");
    EXPECT_TRUE(edge_memberp(head, tail->succs)) << "the back edge is still a direct one";
    for (EDGE* edge = join->preds; edge != nullptr; edge = edge->next)
        EXPECT_EQ(edge->bb->succs->next, nullptr) << "forward edges into the join are split";
    split_critical_edges(true);
    renumber_bblocks();
    expect_valid("split_critical_edges");
    EXPECT_FALSE(edge_memberp(head, tail->succs));
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (EDGE* edge = bb->succs; bb->succs != nullptr && bb->succs->next != nullptr && edge != nullptr;
             edge = edge->next)
            EXPECT_EQ(edge->bb->preds->next, nullptr);
}

TEST_F(BuildCfg, SplitEdgeGivesTheNumbersAnew) {
    build({unless(in(0), 1), event(1), label(1), event(2)});
    BBLK *from = f->bb_list, *to = block_with_event(2);
    BBLK* bb = split_cfg_edge(from, to);
    expect_valid("split_cfg_edge");
    EXPECT_EQ(from->dflink, bb);
    EXPECT_EQ(bb->dfn, 2);
    EXPECT_EQ(bb->labels->index, 2);
    EXPECT_FALSE(edge_memberp(to, from->succs));
}

TEST_F(BuildCfg, RenumberingNumbersReferencedLabelsFirst) {
    build({unless(in(0), 1), event(1), label(1), event(2)});
    f->bb_list->labels = mklabel(0, f->bb_list->labels, f->bb_list); // never referred to
    renumber_bblocks();
    expect_valid("renumber_bblocks");
    EXPECT_TRUE(label_count_faults().empty());
    EXPECT_GT(f->bb_list->labels->index, block_with_event(2)->labels->index);
    EXPECT_GT(block_with_event(2)->labels->index, 0);
}

TEST_F(BuildCfg, InsertingAndPromoting) {
    build({event(1), event(3)});
    BBLK* bb = f->bb_list;
    EXPECT_NE(insert_stmt_before_stmt_in_bb(event(2), bb->stmts->rest->first, bb, nullptr), nullptr);
    NODE* stranger = event(9);
    EXPECT_EQ(insert_stmt_before_stmt_in_bb(nullptr, stranger, bb, nullptr), nullptr);
    erase_tree(stranger);
    promote_tree(mk_COMMAOP(event(-1), mk_COMMAOP(event(0), event(0))), &bb->stmts, nullptr);
    EXPECT_EQ(run_blocks(0).events, (std::vector<long>{-1, 0, 0, 1, 2, 3}));
}

} // namespace
