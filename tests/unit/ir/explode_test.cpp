// Splitting of structs, sharing of storage and function-local statics, on functions built by hand.
#include "ir/explode.h"

#include "small_function.h"

namespace {

// ------------------------------------------------------------------------------------------------ splitting

class Explode : public SmallFunction {
  protected:
    void SetUp() override {
        SmallFunction::SetUp();
        pair = structure("pair", {{"a", int_type}, {"b", int_type}});
    }
    TYPE* pair = nullptr;
};

TEST_F(Explode, MembersBecomeVariables) {
    begin_body();
    SYMTAB* s = symbol("_s", pair);
    block({asg(dot(name(s), 0), icon(1)), give_back(plus(dot(name(s), 0), dot(name(s), 1)))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"$O$CSU$s$a = 1", "return $O$CSU$s$a + $O$CSU$s$b"}));
    EXPECT_FALSE(is_local("_s"));
    ASSERT_TRUE(in_chain(f.scalar_locals, "$O$CSU$s$a"));
    EXPECT_FALSE(f.scalar_locals->aliased());
}

TEST_F(Explode, OnlyFromLevelTwoOn) {
    begin_body();
    SYMTAB* s = symbol("s", pair);
    block({asg(dot(name(s), 0), icon(1))});
    option_queries.opt_level = [] { return 1; };
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"s.a = 1"}));
}

// Each of these is a use that keeps the struct `s` whole; the struct `t` beside it is still split.
TEST_F(Explode, UsesThatKeepTheStruct) {
    TYPE* pair_ptr = tp->mk_ptr(pair);
    TYPE* odd = structure("odd", {{"a", int_type}, {"w", int_type, 5}});
    TYPE* unstable = structure("unstable", {{"v", tp->mk_qual(int_type, QUAL_VOLATILE)}});
    begin_body();
    SYMTAB* keep = symbol("p", pair_ptr);
    SYMTAB* whole = symbol("whole", pair);
    SYMTAB* part = symbol("part", pair);
    SYMTAB* other_type = symbol("other_type", pair);
    SYMTAB* bits = symbol("bits", odd);
    SYMTAB* vol = symbol("vol", unstable);
    SYMTAB* t = symbol("t", pair);
    NODE* as_float = dot(name(other_type), 0);
    as_float->type = tp->float_type();
    block({
        asg(name(keep), address(name(whole))),
        asg(dot(name(whole), 0), icon(1)),
        asg(mk_UMULT(address(dot(name(part), 0)), int_type), icon(2)),
        asg(as_float, maketree(SCONV, icon(1), nullptr, tp->float_type())),
        asg(dot(name(bits), 1), icon(3)),
        asg(dot(name(bits), 0), icon(4)),
        asg(dot(name(vol), 0), icon(5)),
        asg(dot(name(t), 0), icon(6)),
    });
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"p = &whole", "whole.a = 1", "*&part.a = 2", "other_type.a = 1 SCONV ", "bits.w = 3",
                             "bits.a = 4", "vol.v = 5", "$O$CSU$t$a = 6"}));
}

TEST_F(Explode, ThroughTheAddressOfTheWhole) {
    begin_body();
    SYMTAB* s = symbol("s", pair);
    NODE* object = mk_UMULT(mk_PCONV(address(name(s)), tp->mk_ptr(pair)), pair);
    block({asg(dot(object, 1), icon(1))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"$O$CSU$s$b = 1"}));
}

TEST_F(Explode, AssignmentsOfTheWholeComeApart) {
    begin_body();
    SYMTAB* p = symbol("p", tp->mk_ptr(pair));
    SYMTAB* s = symbol("s", pair);
    SYMTAB* t = symbol("t", pair);
    block({asg(name(s), mk_UMULT(name(p), pair)), asg(name(t), name(s)),
           give_back(plus(dot(name(t), 0), dot(name(t), 1)))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"$O$CSU$s$a = *p.a", "$O$CSU$s$b = *p.b", "$O$CSU$t$a = $O$CSU$s$a",
                             "$O$CSU$t$b = $O$CSU$s$b", "return $O$CSU$t$a + $O$CSU$t$b"}));
}

// A member that nobody looks at may hold nothing; its copy by itself would be a fault.
TEST_F(Explode, MembersThatNobodyReadsAreNotCopied) {
    begin_body();
    SYMTAB* p = symbol("p", tp->mk_ptr(pair));
    SYMTAB* s = symbol("s", pair);
    SYMTAB* t = symbol("t", pair);
    SYMTAB* u = symbol("u", pair);
    block({asg(name(s), mk_UMULT(name(p), pair)), asg(name(t), name(s)), asg(name(u), name(t)),
           asg(dot(name(u), 0), icon(1)), give_back(dot(name(t), 1))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"$O$CSU$s$b = *p.b", "$O$CSU$t$b = $O$CSU$s$b", "$O$CSU$u$a = 1", "return $O$CSU$t$b"}));
}

// Of `*p` only the one member may hold a value that the other tells to look at.
TEST_F(Explode, MembersThatArePerhapsReadKeepTheStruct) {
    begin_body();
    SYMTAB* p = symbol("p", tp->mk_ptr(pair));
    SYMTAB* g = global("_g", pair);
    SYMTAB* s = symbol("s", pair);
    SYMTAB* t = symbol("t", pair);
    auto guarded = [&](SYMTAB* sym) {
        return asg(dot(name(g), 0), maketree(ANDAND, dot(name(sym), 0), dot(name(sym), 1), int_type));
    };
    block({asg(name(s), mk_UMULT(name(p), pair)), guarded(s), asg(name(t), name(g)), guarded(t)});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"s = *p", "_g.a = s.a ANDAND s.b", "$O$CSU$t$a = _g.a", "$O$CSU$t$b = _g.b",
                             "_g.a = $O$CSU$t$a ANDAND $O$CSU$t$b"}));
}

// A copy carries what was never assigned along; the variable in its place gets a value.
TEST_F(Explode, VariablesThatAreCopiedHaveAValue) {
    begin_body();
    SYMTAB* p = symbol("p", tp->mk_ptr(pair));
    SYMTAB* s = symbol("s", pair);
    block({asg(dot(name(s), 0), icon(1))});
    block({asg(mk_UMULT(name(p), pair), name(s))}, {0});
    bind_edges();
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"$O$CSU$s$b = 0", "$O$CSU$s$a = 1", "*p.a = $O$CSU$s$a", "*p.b = $O$CSU$s$b"}));
}

// The first part assigned would change where the others are read.
TEST_F(Explode, NoSplitWhereTheSourceMoves) {
    TYPE* node = tp->mk_struct("node", 64, 32, false, 0, true, false, false);
    TYPE* link = tp->mk_ptr(node);
    tp->add_member(node, std::make_unique<fkMDATA>("next", link, 0, 32, false));
    tp->add_member(node, std::make_unique<fkMDATA>("value", int_type, 32, 32, false));
    tp->type_frozen(node);
    begin_body();
    SYMTAB* s = symbol("s", node);
    SYMTAB* p = symbol("p", link);
    SYMTAB* t = symbol("t", node);
    SYMTAB* q = symbol("q", tp->mk_ptr(link));
    block({asg(name(s), mk_UMULT(dot(name(s), 0), node)), asg(name(q), address(name(p))),
           asg(name(t), mk_UMULT(name(p), node))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"s = *s.next", "q = &p", "t = *p"}));
}

TEST_F(Explode, LargeStructsAreNotCopiedByParts) {
    TYPE* five =
        structure("five", {{"a", int_type}, {"b", int_type}, {"c", int_type}, {"d", int_type}, {"e", int_type}});
    begin_body();
    SYMTAB* s = symbol("s", five);
    SYMTAB* t = symbol("t", five);
    block({asg(name(s), name(t))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"s = t"}));
    EXPECT_FALSE(csu_type_has_only_simple_scalar_members(five, 4));
    EXPECT_TRUE(csu_type_has_only_simple_scalar_members(pair, 4));
}

TEST_F(Explode, NestedStructsComeApartRoundByRound) {
    TYPE* outer = structure("outer", {{"in", pair}, {"c", int_type}});
    begin_body();
    SYMTAB* o = symbol("o", outer);
    SYMTAB* p = symbol("p", pair);
    block({asg(dot(name(p), 0), icon(3)), asg(dot(name(p), 1), icon(4)), asg(dot(dot(name(o), 0), 1), icon(1)),
           asg(dot(name(o), 0), name(p))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"$O$CSU$p$a = 3", "$O$CSU$p$b = 4", "$O$CSU$o$in$b = 1", "$O$CSU$o$in$a = $O$CSU$p$a",
                             "$O$CSU$o$in$b = $O$CSU$p$b"}));
    EXPECT_EQ(f.memory_locals, nullptr);
}

TEST_F(Explode, AnAssignmentToAStructMemberNamesItsNewTarget) {
    TYPE* big = structure("big", {{"a", int_type}, {"b", int_type}, {"c", int_type}, {"d", int_type}, {"e", int_type}});
    TYPE* outer = structure("outer", {{"in", big}, {"c", int_type}});
    begin_body();
    SYMTAB* o = symbol("o", outer);
    SYMTAB* p = symbol("p", tp->mk_ptr(big));
    block({asg(dot(name(o), 0), mk_UMULT(name(p), big))});
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"$O$CSU$o$in = *p"}));
    const NODE* stasg = f.bb_list->stmts->first;
    EXPECT_EQ(stasg->u.sym, stasg->left->u.sym);
}

TEST_F(Explode, ParametersAreFilledThroughACopy) {
    SYMTAB* p = symbol("s", pair, SC_PARM, 1);
    begin_body();
    SYMTAB* s = symbol("s", pair);
    block({asg(name(s), name(p)), give_back(plus(dot(name(s), 0), dot(name(s), 1)))});
    ASSERT_TRUE(tree_is_arg_prolog(f.bb_list->stmts->first));
    explode_auto_struct_vars();
    EXPECT_EQ(body(), (LINES{"s = s", "$O$CSU$s$a = s.a", "$O$CSU$s$b = s.b", "return $O$CSU$s$a + $O$CSU$s$b"}));
    const NODE* prolog = f.bb_list->stmts->first;
    EXPECT_TRUE(tree_is_arg_prolog(prolog));
    EXPECT_EQ(prolog->right->u.sym, p);
    SYMTAB* copy = prolog->left->u.sym;
    EXPECT_NE(copy, s);
    EXPECT_TRUE(copy->type->is_const());
    EXPECT_EQ(f.bb_list->stmts->rest->first->right->left->u.sym, copy);
    EXPECT_FALSE(symbol_in_list(s, f.memory_locals));
    EXPECT_TRUE(symbol_in_list(copy, f.memory_locals));
}

// ------------------------------------------------------------------------------------------------ sharing

class StackSharing : public SmallFunction {
  protected:
    void SetUp() override {
        SmallFunction::SetUp();
        ints = [this](uint32_t n) { return tp->mk_array(int_type, n, false); };
    }
    NODE* use(SYMTAB* sym) { return asg(mk_UMULT(mk_UAND(name(sym), tp->mk_ptr(int_type)), int_type), icon(0)); }
    // Bit offset of the member that statement n uses, -1 if it names a variable of its own.
    int offset(size_t n) {
        LIST* cell = f.bb_list->stmts;
        while (n-- != 0) cell = cell->rest;
        const NODE* object = cell->first->left->left->left;
        return object->op == STDOT ? object->right->mval->bit_offset : -1;
    }
    std::function<TYPE*(uint32_t)> ints;
};

TEST_F(StackSharing, SiblingsOverlapAndNestedBlocksFollow) {
    begin_body();
    SYMTAB* outer = symbol("outer", ints(3));
    open_block();
    SYMTAB* a = symbol("a", ints(4));
    open_block();
    SYMTAB* in_a = symbol("in_a", ints(1));
    close_block();
    open_block();
    SYMTAB* also_in_a = symbol("also_in_a", ints(2));
    close_block();
    close_block();
    open_block();
    SYMTAB* b = symbol("b", ints(7));
    SYMTAB* b2 = symbol("b2", ints(1));
    close_block();
    block({use(outer), use(a), use(in_a), use(also_in_a), use(b), use(b2)});
    build_stack_sharing_type();
    EXPECT_EQ(offset(0), -1);
    EXPECT_EQ(offset(1), 0);
    EXPECT_EQ(offset(2), 4 * 32);
    EXPECT_EQ(offset(3), 4 * 32);
    EXPECT_EQ(offset(4), 0);
    EXPECT_EQ(offset(5), 7 * 32);
    ASSERT_TRUE(in_chain(f.temps, "$O$O1"));
    EXPECT_EQ(f.temps->size, 8u * 32);
    EXPECT_TRUE(f.temps->type->is_union());
    EXPECT_TRUE(is_local("outer"));
    EXPECT_FALSE(is_local("a"));
}

TEST_F(StackSharing, NothingToSaveNothingChanged) {
    begin_body();
    open_block();
    SYMTAB* a = symbol("a", ints(4));
    open_block();
    SYMTAB* b = symbol("b", ints(4));
    close_block();
    close_block();
    open_block();
    symbol("unused", ints(4));
    SYMTAB* scalar = symbol("scalar", int_type);
    SYMTAB* fixed = symbol("fixed", tp->mk_array(tp->mk_qual(int_type, QUAL_CONST), 4, false));
    SYMTAB* floats = symbol("floats", tp->mk_array(tp->float_type(), 4, false));
    close_block();
    block({use(a), use(b), use(fixed), use(floats), asg(name(scalar), icon(1))});
    build_stack_sharing_type();
    for (size_t i = 0; i < 4; i++) EXPECT_EQ(offset(i), -1);
    EXPECT_EQ(f.temps, nullptr);
    EXPECT_TRUE(is_local("unused"));
}

// Objects of two elementary types never lie one over the other.
TEST_F(StackSharing, EachTypeHasItsRegion) {
    TYPE* mixed = structure("mixed", {{"i", int_type}, {"f", tp->float_type()}});
    SYMTAB *a[2], *m[2];
    begin_body();
    for (int i = 0; i < 2; i++) {
        open_block();
        m[i] = symbol(i == 0 ? "m0" : "m1", tp->mk_array(mixed, 2, false));
        a[i] = symbol(i == 0 ? "a0" : "a1", ints(1));
        close_block();
    }
    block({use(m[0]), use(a[0]), use(m[1]), use(a[1])});
    build_stack_sharing_type();
    EXPECT_EQ(offset(0), 0);
    EXPECT_EQ(offset(2), 0);
    EXPECT_EQ(offset(1), 128);
    EXPECT_EQ(offset(3), 128);
}

TEST_F(StackSharing, StructsThatWillBeSplitStayByThemselves) {
    TYPE* pair = structure("pair", {{"a", int_type}, {"b", int_type}});
    SYMTAB* s[2];
    begin_body();
    for (int i = 0; i < 2; i++) {
        open_block();
        s[i] = symbol(i == 0 ? "s0" : "s1", pair);
        close_block();
    }
    auto statements = [&] {
        return std::vector<NODE*>{asg(dot(name(s[0]), 0), icon(1)), asg(dot(name(s[1]), 0), icon(2))};
    };
    block(statements());
    build_stack_sharing_type();
    EXPECT_EQ(body(), (LINES{"s0.a = 1", "s1.a = 2"}));
}

TEST_F(StackSharing, AssignmentsLoseTheirTargetSymbol) {
    TYPE* big = structure("big", {{"a", ints(9)}});
    SYMTAB* s[2];
    begin_body();
    SYMTAB* p = symbol("p", tp->mk_ptr(big));
    for (int i = 0; i < 2; i++) {
        open_block();
        s[i] = symbol(i == 0 ? "s0" : "s1", big);
        close_block();
    }
    block({asg(name(s[0]), mk_UMULT(name(p), big)), asg(mk_UMULT(name(p), big), name(s[1]))});
    build_stack_sharing_type();
    EXPECT_EQ(body(), (LINES{"$O$O1.s0 = *p", "*p = $O$O1.s1"}));
    EXPECT_EQ(f.bb_list->stmts->first->u.sym, nullptr);
}

// ------------------------------------------------------------------------------------------------ statics

class FlStatics : public SmallFunction {
  protected:
    void SetUp() override {
        SmallFunction::SetUp();
        begin_body();
        x = local_static("_x$1", int_type);
        y = global("_y", int_type);
    }
    bool becomes_auto() {
        bind_edges();
        identify_fl_statics_safe_for_auto();
        convert_safe_fl_statics_to_auto(&f);
        bool named = false; // the global, still
        for_each_statement(&f, [&](LIST* cell) { named = named || sym_appears_in_tree(x, cell->first); });
        EXPECT_EQ(named, !is_local("_x$1"));
        return !named;
    }
    NODE* set() { return asg(name(x), icon(1)); }
    NODE* get() { return asg(name(y), name(x)); }
    NODE* either(int op, NODE* a, NODE* b) { return maketree(op, a, b, int_type); }
    SYMTAB* x = nullptr;
    SYMTAB* y = nullptr;
};

TEST_F(FlStatics, WrittenBeforeEveryRead) {
    block({set()});
    block({get()}, {0});
    block({set()}, {0});
    block({get(), give_back(name(x))}, {1, 2});
    ASSERT_TRUE(becomes_auto());
    ASSERT_TRUE(in_chain(f.locals, "_x$1"));
    EXPECT_EQ(f.locals->sclass, SC_AUTO);
    EXPECT_EQ(f.locals->level, 2);
    EXPECT_EQ(f.locals->pragmas, nullptr);
    EXPECT_TRUE(f.fl_statics.empty());
}

TEST_F(FlStatics, OnePathWithoutAWriteIsEnough) {
    block({icon(0)});
    block({set()}, {0});
    block({get()}, {0, 1});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, ALoopDoesNotSupplyItsOwnFirstValue) {
    block({icon(0)});
    block({get(), set()}, {0, 1});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, AWriteBeforeALoopServesTheLoop) {
    block({set()});
    block({get()}, {0, 1});
    EXPECT_TRUE(becomes_auto());
}

TEST_F(FlStatics, ACallMayEnterTheFunctionAgain) {
    block({set(), call(), get()});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, ACallInAnotherBlockCountsToo) {
    block({set()});
    block({call()}, {0, 1});
    block({get()}, {1});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, AWriteBehindTheCallRenewsTheProof) {
    block({set(), get(), call(), asg(name(x), call()), get()});
    EXPECT_TRUE(becomes_auto());
}

TEST_F(FlStatics, TheOldValueOfAStepIsARead) {
    block({maketree(PLUSASG, name(x), icon(1), int_type)});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, WritesThatMayNotRun) {
    block({either(ANDAND, name(y), set()), get()});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, BothArmsOfAChoiceWrite) {
    block({maketree(QUEST, name(y), maketree(COLON, set(), set(), int_type), int_type), get()});
    EXPECT_TRUE(becomes_auto());
}

TEST_F(FlStatics, OneArmOfAChoiceWrites) {
    block({maketree(QUEST, name(y), maketree(COLON, set(), icon(1), int_type), int_type), get()});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, ACallInTheSecondOperand) {
    block({set(), either(OROR, name(y), call()), get()});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, TheRightSideIsReadFirst) {
    block({asg(name(x), plus(name(x), icon(1)))});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, AddressesInTheFunctionAndInInitialisers) {
    SYMTAB* p = global("_p", tp->mk_ptr(int_type));
    block({set(), asg(name(p), address(name(x))), get()});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, AnInitialiserThatPointsAtTheStatic) {
    SYMTAB* p = global("_p", tp->mk_ptr(int_type));
    p->init = new EXPR_LIST;
    p->init->append(address(name(x)));
    block({set(), get()});
    EXPECT_FALSE(becomes_auto());
}

TEST_F(FlStatics, OnlyPlainOnesOfThisFunction) {
    SYMTAB* vol = local_static("_v", tp->mk_qual(int_type, QUAL_VOLATILE));
    SYMTAB* foreign = global("_g", int_type);
    foreign->pragmas = new PRAGMA(PRAGMA::PRAGMA_SCOPING_FUNC, {"_other"});
    block({asg(name(vol), icon(1)), asg(name(foreign), icon(1)), asg(name(y), icon(1))});
    identify_fl_statics_safe_for_auto();
    for (SYMTAB* sym : {vol, foreign, y}) EXPECT_FALSE(sym->flags & SYM_MAY_BE_AUTO) << sym->name;
}

TEST_F(FlStatics, InterruptFunctionsKeepTheirStatics) {
    f.flags |= FUN_is_interrupt;
    block({set(), get()});
    EXPECT_FALSE(becomes_auto());
}

} // namespace
