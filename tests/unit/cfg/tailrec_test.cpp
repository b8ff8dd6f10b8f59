#include "cfg/cfg_fixture.h"

#include <random>

namespace {

class TailRecursion : public CfgTest {
  protected:
    NODE* local(int i) { return mk_NAME(locals[i]); }
    bool has_call() {
        for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
            for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
                if (count_calls_in_tree(cell->first) != 0) return true;
        return false;
    }
    int temps() {
        int n = 0;
        for (SYMTAB* sym = f->temps; sym != nullptr; sym = sym->next) n++;
        return n;
    }
    // f(p0..) { if (p0 == 0) return p0 + ... ; return f(args); }  with values given for the parameters
    void build_self_call(std::vector<NODE*> args) {
        NODE* sum = local(0);
        for (size_t i = 1; i < locals.size(); i++) // weighted, so that a swap shows
            sum = binary(PLUS, sum, binary(PLUS, local(i), local(i)));
        std::vector<NODE*> stmts;
        if (!locals.empty()) stmts.push_back(prolog());
        stmts.push_back(unless(binary(EQ, in(0), num(0)), 1));
        stmts.push_back(ret(sum));
        stmts.push_back(label(1));
        stmts.push_back(event(1));
        stmts.push_back(ret(self_call(std::move(args))));
        build(stmts);
    }
};

TEST_F(TailRecursion, SwapNeedsATemporary) {
    parameter("a");
    parameter("b");
    build_self_call({local(1), local(0)});
    EXPECT_FALSE(has_call());
    EXPECT_EQ(temps(), 1);
}

TEST_F(TailRecursion, OrderAloneIsEnoughWithoutARing) {
    parameter("a");
    parameter("b");
    parameter("c");
    build_self_call({binary(PLUS, local(0), local(1)), binary(PLUS, local(1), local(2)), num(3)});
    EXPECT_FALSE(has_call());
    EXPECT_EQ(temps(), 0);
}

TEST_F(TailRecursion, LeftAloneWhereItMustBe) {
    parameter("a");
    auto expect_untouched = [&](const char* why) {
        build_self_call({binary(MINUS, local(0), num(1))});
        EXPECT_TRUE(has_call()) << why;
        drop_function();
        start_function();
    };
    level = 1;
    expect_untouched("level 1");
    level = 2;
    f->has_local_address = true;
    expect_untouched("the address of a local is taken");
    f->flags |= FUN_is_interrupt;
    expect_untouched("interrupt");
    f->flags |= FUN_is_cpp;
    expect_untouched("another language");
    f->locals = variable("__va", int_type, 1, SC_PARM_VARARGS);
    expect_untouched("variadic");
    build_self_call({num(1), num(2)});
    EXPECT_TRUE(has_call()) << "more arguments than parameters";
    drop_function();
    start_function();
    build_self_call({mk_SCONV(num(1), tp->double_type())});
    EXPECT_TRUE(has_call()) << "an argument of another type";
}

TEST_F(TailRecursion, AddressTakenAnywhereInTheBodyForbidsIt) {
    parameter("a");
    SYMTAB* x = variable("x", int_type, 2);
    SYMTAB* p = variable("p", tp->mk_ptr(int_type), 2);
    build({prolog(), mk_ASG(mk_NAME(p), mk_UAND(mk_NAME(x), p->type)), ret(self_call({local(0)}))});
    EXPECT_TRUE(has_call());
}

TEST_F(TailRecursion, CallInTheFirstBlock) {
    parameter("a");
    parameter("b");
    build({prolog(), event(1), ret(self_call({local(1), local(0)}))});
    EXPECT_FALSE(has_call());
    EXPECT_EQ(f->bb_list->stmts->first->op, PCOMMA);
    EXPECT_EQ(f->bb_list->preds, nullptr) << "the prolog is not repeated";
}

TEST_F(TailRecursion, WithoutParametersAndValue) {
    build({event(1), unless(in(0), 1), self_call({}), uret(), label(1), event(2)});
    EXPECT_FALSE(has_call());
    EXPECT_EQ(edge_length(f->bb_list->preds), 1);
    simpcfg(false, false);
    expect_valid("simpcfg");
    EXPECT_EQ(f->bb_list, block_with_event(1))
        << "the first block stays the first, although only its own code leads to it";
    for (uint64_t seed = 0; seed < 5; seed++)
        EXPECT_EQ(run_blocks(seed).end == "return", run_blocks(seed).events.back() == 2);
}

TEST_F(TailRecursion, EffectsOfArgumentsHappenOnceAndInOrder) {
    parameter("a");
    parameter("b");
    // f((out = 7, 1), (out = 8, a)) while in0 lets it; b must be assigned before a
    build_self_call({mk_COMMAOP(event(7), num(1)), mk_COMMAOP(event(8), local(0))});
    EXPECT_FALSE(has_call());
    RUN_RESULT run = run_blocks(3, {{formals[0], 1}, {formals[1], 10}});
    for (size_t i = 0; i + 3 <= run.events.size(); i += 3)
        EXPECT_EQ(std::vector<long>(run.events.begin() + i, run.events.begin() + i + 3), (std::vector<long>{1, 7, 8}));
}

TEST_F(TailRecursion, StructArgumentIsAssignedAsAStruct) {
    TYPE* s = tp->mk_struct("S");
    s->size_bits = 64;
    s->align_bits = 32;
    tp->type_frozen(s);
    parameter("s", s);
    SYMTAB* other = variable("o", s, 2);
    build({prolog(), event(1), unless(in(0), 1), ret(num(0)), label(1),
           ret(self_call({maketree(STARG, mk_NAME(other), nullptr, s)}))});
    EXPECT_FALSE(has_call());
    bool assigned = false;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
            assigned |=
                cell->first->op == STASG && cell->first->right->op == NAME && cell->first->right->u.sym == other;
    EXPECT_TRUE(assigned);
}

// Random argument lists, evaluated at once and through the assignments that were made.
TEST_F(TailRecursion, AssignmentsActAtOnce) {
    std::mt19937 random(7);
    for (const char* name : {"a", "b", "c", "d"}) parameter(name);
    for (int round = 0; round < 300; round++) {
        auto expression = [&](auto&& self, int depth) -> NODE* {
            unsigned pick = random() % 5;
            if (depth == 0 || pick < 3) return pick == 0 ? num(static_cast<long>(random() % 9)) : local(random() % 4);
            return binary(pick == 3 ? PLUS : MINUS, self(self, depth - 1), self(self, depth - 1));
        };
        std::vector<NODE*> args, kept;
        for (int i = 0; i < 4; i++) {
            args.push_back(expression(expression, 2));
            kept.push_back(copy_tree(args.back()));
        }
        build_self_call(args);
        EXPECT_FALSE(has_call());
        std::map<const SYMTAB*, long> values{{formals[0], 3}, {formals[1], 50}, {formals[2], 700}, {formals[3], 11000}};
        uint64_t seed = random();
        // The expected result, by the definition of the recursion.
        MACHINE m{seed, {}, 0, {}};
        for (int i = 0; i < 4; i++) m.values[locals[i]] = values[formals[i]];
        for (;;) {
            NODE* question = in(0);
            bool stop = eval(m, question) == 0;
            erase_tree(question);
            if (stop) {
                m.result.end = "return " + std::to_string(m.values[locals[0]] + 2 * m.values[locals[1]] +
                                                          2 * m.values[locals[2]] + 2 * m.values[locals[3]]);
                break;
            }
            m.result.events.push_back(1);
            if (m.result.events.size() >= most_events) break;
            std::vector<long> next;
            for (NODE* tree : kept) next.push_back(eval(m, tree));
            for (int i = 0; i < 4; i++) m.values[locals[i]] = next[i];
        }
        if (m.result.end.empty()) m.result.end = "limit";
        EXPECT_EQ(run_blocks(seed, values), m.result) << "round " << round;
        for (NODE* tree : kept) erase_tree(tree);
        drop_function();
        start_function();
        if (HasFailure()) break;
    }
}

} // namespace
