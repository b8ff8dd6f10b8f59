#include "cfg/cfg_fixture.h"

#include <ctime>
#include <random>

namespace {

class Layout : public CfgTest {
  protected:
    void rotate() {
        rotate_loops();
        expect_valid("rotate_loops");
    }
    long jumps(uint64_t seed) { return run_blocks(seed).jumps; }
    // The trips of the loop whose body is event 2, for a run.
    static long trips(const RUN_RESULT& run, long number) {
        return std::count(run.events.begin(), run.events.end(), number);
    }
    static constexpr int goal_for_size = 0;
};

// while (in0) out = 2;
TEST_F(Layout, TopTestedLoopTestsAtTheBottom) {
    build({event(1), label(1), unless(in(0), 2), event(2), go(1), label(2), event(3)});
    simpcfg(true, false);
    std::vector<RUN_RESULT> before;
    for (uint64_t seed = 0; seed < 40; seed++) before.push_back(run_blocks(seed));
    rotate();
    straighten_traces_in_cfg();
    expect_valid("straighten_traces_in_cfg");
    for (uint64_t seed = 0; seed < 40; seed++) {
        RUN_RESULT after = run_blocks(seed);
        EXPECT_EQ(after, before[seed]);
        EXPECT_EQ(after.jumps, trips(after, 2) + 1) << "one jump for each test, none besides";
    }
}

TEST_F(Layout, LoopIsTurnedWithoutACopyWhenSizeCounts) {
    option_queries.size_speed_goal = [] { return goal_for_size; };
    build({event(1), label(1), unless(in(0), 2), event(2), go(1), label(2), event(3)});
    simpcfg(true, false);
    int blocks = count_blocks();
    rotate();
    option_queries.size_speed_goal = nullptr;
    EXPECT_EQ(count_blocks(), blocks);
    RUN_RESULT run = run_blocks(3);
    EXPECT_EQ(run.jumps, trips(run, 2) + 2) << "the jump into the test on top";
}

TEST_F(Layout, LargeTestIsNotCopied) {
    std::vector<NODE*> stmts{event(1), label(1)};
    for (int i = 0; i < 20; i++) stmts.push_back(event(50));
    for (NODE* stmt : {unless(in(0), 2), event(2), go(1), label(2), event(3)}) stmts.push_back(stmt);
    build(stmts);
    simpcfg(true, false);
    int blocks = count_blocks();
    rotate();
    EXPECT_EQ(count_blocks(), blocks);
    RUN_RESULT run = run_blocks(3);
    EXPECT_EQ(run.jumps, trips(run, 2) + 2);
}

TEST_F(Layout, PragmasMoveBehindTheCopiedTest) {
    build({event(1), pragma(41), pragma(39), label(1), unless(in(0), 2), event(2), go(1), label(2), event(3)});
    simpcfg(true, false);
    rotate();
    BBLK* front = nullptr;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        if (bb->stmts->first->op == PPRAGMA) front = bb;
    ASSERT_NE(front, nullptr);
    EXPECT_EQ(front->stmts->first->pragma->kind, 41u);
    EXPECT_EQ(front->stmts->rest->first->pragma->kind, 39u);
    EXPECT_EQ(front->succs->bb, block_with_event(2));
}

// for (;;) { out = 2; if (in0) break; out = 4; }
TEST_F(Layout, LoopWithItsTestInTheMiddleGoesRoundOverIt) {
    build({event(1), label(1), event(2), unless(in(0), 3), go(2), label(3), event(4), go(1), label(2), event(5)});
    simpcfg(true, false);
    rotate();
    for (uint64_t seed = 0; seed < 20; seed++) {
        RUN_RESULT run = run_blocks(seed);
        EXPECT_LE(run.jumps, trips(run, 2) + 1);
    }
}

TEST_F(Layout, BottomTestedLoopStaysAsItIs) {
    build({event(1), label(1), event(2), unless(binary(EQ, in(0), num(0)), 1), event(3)});
    simpcfg(true, false);
    rotate();
    RUN_RESULT run = run_blocks(5);
    EXPECT_EQ(run.jumps, trips(run, 2));
}

TEST_F(Layout, LoopsAreInOnePieceAndNested) {
    // Two loops around one another, each with a cold way that leaves.
    build({label(1), unless(in(0), 9), event(1), label(2), unless(in(1), 3), event(2), unless(in(2), 8), event(4),
           go(2), label(3), event(5), go(1), label(8), event(8), go(9), label(9), event(9)});
    simpcfg(true, false);
    rotate();
    straighten_traces_in_cfg();
    expect_valid("straighten_traces_in_cfg");
    int lo = INT32_MAX, hi = 0;
    for (long n : {1, 2, 4, 5}) {
        lo = std::min(lo, block_with_event(n)->dfn);
        hi = std::max(hi, block_with_event(n)->dfn);
    }
    for (long n : {8, 9}) {
        int at = block_with_event(n)->dfn;
        EXPECT_TRUE(at < lo || at > hi) << n;
    }
}

TEST_F(Layout, NumbersOfLabelsInUseStay) {
    build({event(1), label(1), unless(in(0), 2), event(2), go(1), label(2), event(3)});
    simpcfg(true, false);
    std::map<const LBL*, int32_t> before;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next)
            if (label->refcount != 0) before[label] = label->index;
    rotate();
    straighten_traces_in_cfg();
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next) {
            EXPECT_GT(label->index, 0);
            if (before.count(label)) { EXPECT_EQ(label->index, before[label]); }
        }
}

TEST_F(Layout, ShortReturnsAreCopiedInPlaceOfJumps) {
    build({unless(in(0), 1), event(1), go(9), label(1), unless(in(1), 2), event(2), go(9), label(2), event(3), label(9),
           ret(num(7))});
    simpcfg(true, false);
    straighten_traces_in_cfg();
    expect_valid("straighten_traces_in_cfg");
    for (uint64_t seed = 0; seed < 20; seed++) {
        RUN_RESULT run = run_blocks(seed);
        EXPECT_EQ(run.end, "return 7");
        EXPECT_EQ(run.jumps, run.events[0] == 1 ? 1 : 2);
    }
}

// A loop with very many ways back, a deep nest, and a long row of loops.
TEST_F(Layout, LargeLoopsTakeLinearTime) {
    constexpr int n = 20000, depth = 2000;
    std::vector<NODE*> stmts{label(1)};
    for (int i = 0; i < n; i++) {
        stmts.push_back(event(i));
        stmts.push_back(unless(in(i % 6), 1));
    }
    for (int i = 0; i < depth; i++) {
        stmts.push_back(label(10 + i));
        stmts.push_back(unless(in(i % 6), 10 + depth + i));
        stmts.push_back(event(i));
    }
    for (int i = depth - 1; i >= 0; i--) {
        stmts.push_back(go(10 + i));
        stmts.push_back(label(10 + depth + i));
    }
    for (int i = 0; i < n; i++) {
        int a = 10 + 2 * (depth + i), b = a + 1;
        for (NODE* stmt : {label(a), unless(in(i % 6), b), event(i), go(a), label(b), event(i)}) stmts.push_back(stmt);
    }
    std::clock_t start = std::clock(); // other work on the machine does not count
    build(stmts);
    simpcfg(true, false);
    rotate();
    straighten_traces_in_cfg();
    expect_valid("straighten_traces_in_cfg");
    double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    EXPECT_LT(seconds, 20.0); // under a second
}

// ---------------------------------------------------------------------------------------------- random functions

class RandomFunctions : public CfgTest {
  protected:
    std::mt19937 random;
    long next_event = 1;
    int next_label = 1;

    unsigned pick(unsigned n) { return random() % n; }
    NODE* condition() {
        switch (pick(8)) {
        case 0: return num(static_cast<long>(pick(2)));
        case 1: return binary(EQ, event(next_event++), in(static_cast<int>(pick(6))));
        case 2: return mk_COMMAOP(event(next_event++), in(static_cast<int>(pick(6))));
        default: return binary(pick(2) ? LT : NEQ, in(static_cast<int>(pick(6))), num(static_cast<long>(pick(5))));
        }
    }
    // Goto soup: labels and jumps without structure.
    std::vector<NODE*> soup(int size) {
        int labels = 1 + static_cast<int>(pick(static_cast<unsigned>(size)));
        auto any = [&] { return 1 + static_cast<int>(pick(static_cast<unsigned>(labels))); };
        std::vector<NODE*> list;
        for (int i = 0; i < size; i++) list.push_back(statement(any));
        for (int n = 1; n <= labels; n++)
            list.insert(list.begin() + pick(static_cast<unsigned>(list.size() + 1)), label(n));
        return list;
    }
    template <typename F> NODE* statement(F&& any) {
        switch (pick(14)) {
        case 0: return go(any());
        case 1:
        case 2:
        case 3:
        case 4: return unless(condition(), any());
        case 5: {
            std::vector<std::pair<long, int>> cases;
            for (long v = 0; v <= static_cast<long>(pick(4)); v++) cases.push_back({v, any()});
            return switch_on(pick(5) == 0 ? num(static_cast<long>(pick(5))) : in(static_cast<int>(pick(6))), cases,
                             pick(3) == 0 ? 0 : any());
        }
        case 6: return pick(3) ? event(next_event++) : ret(in(static_cast<int>(pick(6))));
        case 7: return pick(3) ? event(next_event++) : uret();
        case 8: return pragma(41);
        case 9: return maketree(NASSERT, binary(EQ, in(0), in(0)), nullptr, int_type);
        default: return event(next_event++);
        }
    }
    // Structured code: loops with tests at the top, in the middle and at the bottom, breaks and continues.
    void structured(std::vector<NODE*>& list, int depth, int on_break, int on_continue) {
        for (unsigned i = 0, n = 1 + pick(3); i < n; i++) {
            int a = next_label++, b = next_label++, c = next_label++;
            switch (depth == 0 ? 9 : pick(9)) {
            case 0: // while
                if (pick(2)) list.push_back(pragma(41));
                list.push_back(label(a));
                list.push_back(unless(condition(), b));
                structured(list, depth - 1, b, a);
                list.push_back(go(a));
                list.push_back(label(b));
                break;
            case 1: // do while
                list.push_back(label(a));
                structured(list, depth - 1, b, c);
                list.push_back(label(c));
                list.push_back(unless(condition(), a));
                list.push_back(label(b));
                break;
            case 2: // for, test in the middle
                list.push_back(label(a));
                list.push_back(event(next_event++));
                list.push_back(unless(condition(), b));
                structured(list, depth - 1, b, c);
                list.push_back(label(c));
                list.push_back(event(next_event++));
                list.push_back(go(a));
                list.push_back(label(b));
                break;
            case 3:
            case 4: // if else
                list.push_back(unless(condition(), a));
                structured(list, depth - 1, on_break, on_continue);
                list.push_back(go(b));
                list.push_back(label(a));
                if (pick(2)) structured(list, depth - 1, on_break, on_continue);
                list.push_back(label(b));
                break;
            case 5: { // switch with falling through
                list.push_back(
                    switch_on(in(static_cast<int>(pick(6))), {{0, a}, {1, b}, {2, a}, {3, c}}, pick(2) ? c : b));
                list.push_back(label(a));
                structured(list, depth - 1, c, on_continue);
                if (pick(2)) list.push_back(go(c));
                list.push_back(label(b));
                structured(list, depth - 1, c, on_continue);
                list.push_back(label(c));
                break;
            }
            case 6: list.push_back(unless(condition(), on_break)); break;
            case 7: list.push_back(unless(condition(), on_continue)); break;
            case 8:
                list.push_back(unless(condition(), a));
                list.push_back(ret(num(next_event++)));
                list.push_back(label(a));
                break;
            default: list.push_back(event(next_event++)); break;
            }
        }
    }
    std::vector<NODE*> program(int round) {
        next_event = next_label = 1;
        random.seed(static_cast<unsigned>(round));
        if (round % 2) return soup(4 + static_cast<int>(pick(40)));
        std::vector<NODE*> list;
        int out_label = next_label++;
        structured(list, 1 + static_cast<int>(pick(4)), out_label, out_label);
        list.push_back(label(out_label));
        return list;
    }
};

// Every step keeps what a function does, whatever decisions are taken, and leaves a valid graph. Over all functions the
// layout must pay; over one run it may lose, as it goes by guesses.
TEST_F(RandomFunctions, StepsKeepTheirMeaning) {
    long jumps_before = 0, jumps_after = 0;
    for (int round = 0; round < 1500 && !HasFailure(); round++) {
        std::vector<NODE*> list = program(round);
        constexpr uint64_t seeds = 12;
        std::vector<RUN_RESULT> expected;
        for (uint64_t seed = 0; seed < seeds; seed++) expected.push_back(run_list(list, seed + 100u * round));
        auto compare = [&](const char* step) {
            expect_valid(step);
            for (uint64_t seed = 0; seed < seeds; seed++)
                EXPECT_EQ(run_blocks(seed + 100u * round), expected[seed]) << step << ", round " << round;
        };
        build(list);
        compare("buildcfg");
        simpcfg(false, false);
        compare("simpcfg");
        EXPECT_FALSE(simpcfg(false, false)) << "round " << round;
        optimize_SWITCH_cases();
        compare("optimize_SWITCH_cases");
        split_critical_edges(round % 3 == 0);
        compare("split_critical_edges");
        simpcfg(true, false);
        compare("simpcfg before writing");
        // An endless loop without events would count for more than all else.
        auto jumps = [&] {
            long sum = 0;
            for (uint64_t seed = 0; seed < seeds; seed++)
                if (RUN_RESULT run = run_blocks(seed + 100u * round); run.end != "stuck") sum += run.jumps;
            return sum;
        };
        jumps_before += jumps();
        rotate_loops();
        compare("rotate_loops");
        straighten_traces_in_cfg();
        compare("straighten_traces_in_cfg");
        jumps_after += jumps();
        drop_function();
        start_function();
    }
    RecordProperty("jumps_before", std::to_string(jumps_before));
    RecordProperty("jumps_after", std::to_string(jumps_after));
    EXPECT_LT(jumps_after, jumps_before);
}

} // namespace
