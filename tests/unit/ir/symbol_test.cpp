#include "ir/symbol.h"

#include "small_function.h"

namespace {

class Symbols : public SmallFunction {
  protected:
    static PRAGMA* pragmas(std::initializer_list<uint32_t> kinds) {
        PRAGMA* list = nullptr;
        PRAGMA** end = &list;
        for (uint32_t kind : kinds) {
            *end = new PRAGMA(kind);
            end = &(*end)->next;
        }
        return list;
    }
};

TEST_F(Symbols, ErrnoIsTheFirstGlobalIntOfThatName) {
    begin_body();
    symbol("errno", int_type);
    EXPECT_EQ(errno_symbol, nullptr);
    global("_errnos", int_type);
    global("_errno", tp->float_type());
    EXPECT_EQ(errno_symbol, nullptr);
    SYMTAB* first = global("_Errno", int_type);
    global("_errno", int_type);
    EXPECT_EQ(errno_symbol, first);
}

TEST_F(Symbols, GlobalsStandNewestFirst) {
    global("_a", int_type);
    global("_b", int_type);
    EXPECT_EQ(names_of(global_symbols), (LINES{"_b", "_a", "_f"}));
    global_symbols = revsymtab(global_symbols);
    EXPECT_EQ(names_of(global_symbols), (LINES{"_f", "_a", "_b"}));
}

TEST_F(Symbols, ReversingStopsAtTheTail) {
    SYMTAB* a = global("_a", int_type);
    global("_b", int_type);
    SYMTAB* c = global("_c", int_type);
    EXPECT_EQ(names_of(revsymtab(c, a)), (LINES{"_b", "_c", "_a", "_f"}));
}

TEST_F(Symbols, UnlinkGivesTheNewHead) {
    SYMTAB* a = global("_a", int_type);
    SYMTAB* b = global("_b", int_type);
    EXPECT_EQ(unlink_symbol(b, b), a);
    EXPECT_EQ(b->next, nullptr);
    EXPECT_EQ(unlink_symbol(b, a), a);        // not in the list
    EXPECT_EQ(unlink_symbol(currfunc, a), a); // from the end
    EXPECT_EQ(a->next, nullptr);
}

TEST_F(Symbols, QualifierBitsOfGlobals) {
    auto quals = [&](TYPE* type, uint16_t bits, int level) {
        return make_symbol("_q", type, nullptr, type->size(), type->align(), 0, SC_AUTO, bits, nullptr, 0, 0, level)
            ->scqual;
    };
    begin_body();
    EXPECT_EQ(quals(int_type, 0, 0), 0xE000);
    EXPECT_EQ(quals(int_type, CQ_CREGISTER, 0), 0xC000 | CQ_CREGISTER);
    EXPECT_EQ(quals(tp->mk_qual(int_type, QUAL_CONST), 0, 0), 0);
    EXPECT_EQ(quals(int_type, 0xFFFF, 2), CQ_FILE_MASK);
    option_queries.opt_level = [] { return 3; };
    EXPECT_EQ(quals(int_type, 0, 0), 0);
}

TEST_F(Symbols, EnumTypesNormalizeToTheirUnderlyingType) {
    TYPE* e = tp->mk_enum("e", int_type, false);
    tp->type_frozen(e);
    begin_body();
    SYMTAB* sym = symbol("v", tp->mk_qual(e, QUAL_VOLATILE));
    EXPECT_EQ(sym->type, tp->mk_qual(int_type, QUAL_VOLATILE));
    EXPECT_TRUE(sym->otype->is_enum());
}

TEST_F(Symbols, SplitLosesNothingAndListsNothingTwice) {
    symbol("p1", int_type, SC_PARM_REG, 1);
    symbol("p2", int_type, SC_PARM_REG, 1);
    symbol("__va", int_type, SC_PARM_VARARGS, 1);
    begin_body();
    symbol("r", int_type, SC_REGISTER);
    symbol("v", tp->mk_qual(int_type, QUAL_VOLATILE));
    symbol("a", tp->mk_array(int_type, 4, false));
    symbol("gone", int_type, SC_OMITTED);
    symbol("s", tp->float_type());
    EXPECT_TRUE(f.flags & FUN_cannot_inline);
    for (int i = 0; i < 2; i++) {
        sym_split(&f);
        EXPECT_EQ(f.locals, nullptr);
        EXPECT_EQ(names_of(f.scalar_locals), (LINES{"r", "s"}));
        EXPECT_EQ(names_of(f.memory_locals), (LINES{"p1", "p2", "__va", "v", "a"}));
    }
    EXPECT_EQ(f.scalar_locals->sclass, SC_AUTO);
    SYMTAB* varargs = f.memory_locals->next->next;
    EXPECT_EQ(varargs->sclass, SC_PARM);
    EXPECT_EQ(varargs->sclass_at_creation, SC_PARM_VARARGS);

    sym_temp('P', 7, int_type, nullptr);
    sym_split(&f);
    EXPECT_EQ(names_of(f.scalar_locals), (LINES{"$O$P7", "r", "s"}));
}

TEST_F(Symbols, TemporariesAreNumberedByTheFunction) {
    begin_body();
    f.temp_counter = 3;
    SYMTAB* a = sym_temp('Q', -1, tp->mk_array(int_type, 5, false), nullptr);
    SYMTAB* b = sym_temp('Q', -1, int_type, nullptr);
    EXPECT_STREQ(a->name, "$O$Q3");
    EXPECT_STREQ(b->name, "$O$Q4");
    EXPECT_EQ(a->type, int_type);
    EXPECT_EQ(b->index, a->index + 1);
    EXPECT_EQ(a->scope, LS_level_2_scope(f.scopes));
    EXPECT_TRUE(is_optimizer_temp(a->name, 'P', 'R'));
    EXPECT_FALSE(is_optimizer_temp(a->name, 'A', 'O'));
    EXPECT_FALSE(is_optimizer_temp("$OQ", 'A', 'Z'));
}

TEST_F(Symbols, DeclarationsFindTheirDefinition) {
    SYMTAB* declared = global("_x", int_type, SC_EXTERN_DECL);
    EXPECT_EQ(get_sym_def_for_decl(declared), declared);
    global("_x", tp->float_type(), SC_EXTERN_DEF);
    EXPECT_EQ(get_sym_def_for_decl(declared), declared);
    SYMTAB* defined = global("_x", int_type, SC_EXTERN_DEF);
    EXPECT_EQ(get_sym_def_for_decl(declared), defined);
    EXPECT_EQ(get_sym_def_for_decl(defined), defined);
}

TEST_F(Symbols, InterningKeepsOneCopyOfALocal) {
    static std::vector<SYMTAB*> visited;
    visited.clear();
    begin_body();
    SYMTAB* g = global("_g", int_type);
    SYMTAB* a = symbol("a", tp->long_type()); // normal form: int
    SYMTAB* b = symbol("b", int_type);
    EXPECT_EQ(intern_symbol(g, &f), g);
    EXPECT_EQ(find_interned_symbol(a), nullptr);
    a->link[0] = a;
    a->next = b;
    SYMTAB* ia = intern_symbol(a, &f);
    EXPECT_NE(ia, a);
    EXPECT_EQ(ia->link[0], nullptr);
    EXPECT_EQ(ia->next, nullptr);
    EXPECT_NE(ia->name, a->name);
    SYMTAB* ib = intern_symbol(b, &f);

    SYMTAB again = *a; // read anew: another object, the same symbol
    again.otype = int_type;
    EXPECT_EQ(intern_symbol(&again, &f), ia);
    again.index += 10;
    EXPECT_EQ(find_interned_symbol(&again), nullptr);
    FUNINFO other;
    other.number = 99;
    EXPECT_NE(intern_symbol(a, &other), ia);

    map_over_interned_symbols([](SYMTAB* sym) { visited.push_back(sym); });
    ASSERT_EQ(visited.size(), 3u);
    EXPECT_EQ(visited[0], ia);
    EXPECT_EQ(visited[1], ib);
}

TEST_F(Symbols, ACopyOwnsItsPragmas) {
    SYMTAB* a = global("_a", int_type);
    a->pragmas = pragmas({51, 52, 51});
    SYMTAB* copy = copy_symbol(a, 0);
    copy->pragmas = remove_pragma(51, copy->pragmas);
    EXPECT_EQ(symbol_has_pragma(copy, 51), nullptr);
    EXPECT_NE(symbol_has_pragma(copy, 52), nullptr);
    EXPECT_EQ(symbol_has_pragma(a, 51), a->pragmas);
    EXPECT_EQ(a->pragmas->next->next->kind, 51u);
}

TEST_F(Symbols, ValuesOfAnInitialiser) {
    TYPE *char_type = tp->char_type(), *uint_type = tp->uint_type();
    SYMTAB* a = global("_a", tp->mk_array(char_type, 32, false));
    a->init = new EXPR_LIST;
    auto constant = [&](TYPE* type, int v) { a->init->append(mk_ICON(INT65(v), type)); };
    constant(char_type, 5); // unit 0
    constant(int_type, -1); // 1, 2
    NODE* skip = new_node(SKIP, int_type);
    skip->mk_skip(4); // 3 to 6
    a->init->append(skip);
    NODE* chars = new_node(SCON, tp->mk_array(char_type, 2, false));
    chars->mk_scon("A\xff", 2); // 7, 8
    a->init->append(chars);
    a->init->append(new_node(ENDINIT, int_type));

    auto at = [&](uint32_t unit, TYPE* type) -> std::string {
        NODE* n = lookup_autoinit(a, unit, type);
        return n == nullptr ? "none" : SmallFunction::text(n);
    };
    EXPECT_EQ(at(0, char_type), "5");
    EXPECT_EQ(at(1, int_type), "-1");
    EXPECT_EQ(at(1, uint_type), "4294967295");
    EXPECT_EQ(at(1, char_type), "none"); // half of a value
    EXPECT_EQ(at(2, int_type), "none");  // half a value, half a gap
    EXPECT_EQ(at(3, int_type), "0");
    EXPECT_EQ(at(5, int_type), "0");
    EXPECT_EQ(at(6, int_type), "none"); // runs into the characters
    EXPECT_EQ(at(7, char_type), "65");
    EXPECT_EQ(at(8, char_type), "255");
    EXPECT_EQ(at(7, int_type), "none");
    EXPECT_EQ(at(9, int_type), "0"); // behind the list
    EXPECT_EQ(at(31, char_type), "0");
    EXPECT_EQ(at(31, int_type), "none"); // behind the object
    EXPECT_EQ(at(1, tp->float_type()), "none");
    EXPECT_EQ(lookup_array_autoinit(a, 8)->u.lval, INT65(255));
}

TEST_F(Symbols, ShortenedEntriesKnowTheirBits) {
    SYMTAB* sym = global("_s", int_type);
    make_shortened_symbol_entry(sym, tp->uchar_type());
    SYM_RANGE* range = find_shortened_symbol_entry(sym);
    EXPECT_EQ(range->max, INT65(0xFFFF));
    EXPECT_EQ(range->known_zeros & INT65(0x1FFFF), INT65(0x10000));
    EXPECT_EQ(find_widened_symbol_entry(sym), nullptr);
}

TEST_F(Symbols, ScopesFileTheirSymbols) {
    begin_body();
    symbol("outer_array", tp->mk_array(int_type, 2, false));
    symbol("outer_pointer", tp->mk_ptr(int_type));
    LS* outer = f.scope_cursor;
    open_block();
    SYMTAB* array = symbol("inner_array", tp->mk_array(int_type, 2, false));
    symbol("inner", int_type);
    LS* inner = f.scope_cursor;
    close_block();
    EXPECT_EQ(outer->array_syms, nullptr);
    EXPECT_STREQ(outer->pointer_syms->symbol->name, "outer_pointer");
    EXPECT_STREQ(inner->array_syms->symbol->name, "inner_array");
    EXPECT_STREQ(inner->other_syms->symbol->name, "inner");
    EXPECT_EQ(inner->level, 3u);
    EXPECT_TRUE(LS_validate(f.scopes));
    LS_remove_symbol(array);
    EXPECT_EQ(inner->array_syms, nullptr);
    inner->level = 7;
    EXPECT_FALSE(LS_validate(f.scopes));
    inner->level = 3;

    NODE* tree = plus(icon(1), icon(2));
    tree->left->scope = inner;
    LS_initialize_scopes_and_ptrs_from_tree(outer, tree);
    EXPECT_EQ(tree->scope, outer);
    EXPECT_EQ(tree->left->scope, inner);
    EXPECT_EQ(tree->right->scope, outer);
    erase_tree(tree);
}

TEST(SymbolsDeath, AWrongSizeStops) {
    tp_alloc()->init_type_pkg();
    EXPECT_EXIT(SYMTAB("x", 8, 0, SC_AUTO, 0, tp->int_type(), tp->int_type(), 32, nullptr, 0),
                ::testing::ExitedWithCode(1), "");
    tp_release();
}

} // namespace
