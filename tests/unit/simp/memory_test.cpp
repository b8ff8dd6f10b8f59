// Addresses, accesses, copies, sequences and calls.
#include "simp_fixture.h"

#include "ir/funinfo.h"

namespace {

class Memory : public Simplify {
  protected:
    void SetUp() override {
        Simplify::SetUp();
        record = structure("record", {{"first", int_type},
                                      {"second", int_type},
                                      {"bits", uint_type, 5},
                                      {"wide", integers[4]},
                                      {"inner", int_type}});
        s = symbol("s", record);
        p = symbol("p", tp->mk_ptr(record));
        i = symbol("i", int_type);
    }

    NODE* sum(NODE* pointer, int units) { return maketree(PLUS, pointer, icon(units), pointer->type); }
    NODE* member_address(NODE* member) { return mk_UAND(member, tp->mk_ptr(member->type)); }
    static void level_is(int (*level)()) { option_queries.opt_level = level; }

    // A function of the library, declared.
    SYMTAB* declare(const char* c_name, TYPE* result, const std::vector<TYPE*>& parameters) {
        TYPE* type = tp->mk_func(result, false, false, true, 0);
        for (TYPE* t : parameters) {
            fkPARAM parameter;
            parameter.type = t;
            tp->add_param(type, parameter);
        }
        tp->type_frozen(type);
        SYMTAB* sym = global((std::string("_") + c_name).c_str(), type, SC_EXTERN_DECL);
        make_FUNINFO(c_name)->symbol = sym;
        return sym;
    }
    NODE* text_of(const std::string& bytes) {
        NODE* node = maketree(SCON, nullptr, nullptr, tp->mk_ptr(char_type));
        node->mk_scon(bytes.data(), static_cast<uint32_t>(bytes.size() + 1));
        return node;
    }
    NODE* call_of(SYMTAB* function, NODE* arguments) {
        return maketree(CALL, address(name(function)), arguments, function->type->return_type());
    }
    NODE* list(NODE* a, NODE* b) { return maketree(COMMA, a, b, int_type); }

    TYPE* record = nullptr;
    SYMTAB *s = nullptr, *p = nullptr, *i = nullptr;
};

TEST_F(Memory, address_and_access_cancel) {
    EXPECT_EQ(simplified(deref(address(name(i)))), "i");
    EXPECT_EQ(simplified(mk_UAND(deref(name(p)), p->type)), "p");
    NODE* hard = mk_UMULT(address(name(i)), volatile_of(int_type));
    EXPECT_EQ(simplified(hard), "U*32!(U&(i))") << "the access stays volatile";
    NODE* punned = mk_UMULT(mk_UAND(name(i), tp->mk_ptr(char_type)), char_type);
    EXPECT_EQ(simplified(punned), "U*16(U&(i))");
    TYPE* single = tp->mk_array(int_type, 1, false);
    EXPECT_EQ(simplified(mk_UMULT(mk_UAND(name(symbol("a", single)), tp->mk_ptr(int_type)), int_type)), "U*32(U&(a))");
    // The place of an array that stands itself where its address does.
    NODE* place = mk_PCONV(name(symbol("a", single)), tp->mk_ptr(int_type));
    EXPECT_EQ(simplified(mk_UMULT(place, int_type)), "U*32(a)");
    place = mk_PCONV(name(symbol("a", single)), tp->mk_ptr(char_type));
    EXPECT_EQ(simplified(mk_UMULT(place, char_type)), "U*16(PCONV(a))") << "half an element";
    // The address of the first member, seen as something else, is that of the struct.
    TYPE* to_char = tp->mk_ptr(char_type);
    NODE* front = simp_tree(mk_PCONV(member_address(dot(name(s), 0)), to_char));
    EXPECT_EQ(front->type, to_char->normalized());
    EXPECT_EQ(gone(front), "U&(s)");
    NODE* letter = simp_tree(deref(text_of("abc")));
    EXPECT_TRUE(letter->type->is_const());
    erase_tree(letter);
}

TEST_F(Memory, members) {
    EXPECT_EQ(simplified(arrow(name(p), 1)), ".32(U*" + std::to_string(record->size()) + "(p) second)");
    EXPECT_EQ(simplified(arrow(address(name(s)), 1)), ".32(s second)");
    std::string moved = simplified(arrow(sum(name(p), 10), 1));
    EXPECT_EQ(moved, "U*32(+(PCONV(p) 12))");
    EXPECT_EQ(simplified(dot(deref(sum(name(p), 10)), 1)), moved);
    EXPECT_EQ(simplified(arrow(sum(name(p), 10), 2)).substr(0, 3), ".32") << "a bit-field stays one";
    SYMTAB* port = symbol("port", tp->mk_ptr(volatile_of(record)));
    NODE* access = simp_tree(arrow(sum(name(port), 10), 1));
    EXPECT_TRUE(access->op == UMULT && access->type->is_volatile()) << show(access);
    erase_tree(access);
    access = simp_tree(arrow(name(port), 1));
    EXPECT_TRUE(access->op == STDOT && access->type->is_volatile()) << show(access);
    erase_tree(access);
    NODE* constant_place = arrow(mk_PCONV(icon(100), p->type), 1);
    EXPECT_EQ(simplified(member_address(constant_place)), "PCONV(102)");
    EXPECT_EQ(simplified(member_address(arrow(name(p), 1))), "+(PCONV(p) 2)");
    EXPECT_EQ(simplified(member_address(dot(name(s), 1))), "+(U&(s) 2)");
    NODE* far = mk_PCONV(sum(mk_PCONV(sum(name(p), 4), tp->mk_ptr(char_type)), 2), tp->mk_ptr(int_type));
    far->left->type = far->left->left->type;
    EXPECT_EQ(simplified(far), "+(PCONV(p) 6)") << "constants of one address meet";
    level_is([] { return 1; });
    EXPECT_EQ(simplified(member_address(dot(name(s), 1))), "U&(.32(s second))");
}

TEST_F(Memory, copies) {
    SYMTAB *d = symbol("d", p->type), *words = symbol("words", tp->mk_ptr(int_type)), *t = symbol("t", record);
    auto copy = [&](NODE* to, NODE* from, int units) {
        return maketree(MEMCPY, list(list(to, from), icon(units)), nullptr, tp->void_ptr);
    };
    auto as_void = [](NODE* pointer) { return mk_PCONV(pointer, tp->void_ptr); };
    int size = static_cast<int>(record->size() / 16);
    EXPECT_EQ(simplified(copy(as_void(name(d)), as_void(name(p)), size)).substr(0, 12), ",OP(STASG(U*");
    EXPECT_EQ(simplified(copy(address(name(s)), address(name(t)), size)).substr(0, 16), ",OP(STASG(s t) P");
    EXPECT_EQ(simplified(copy(name(d), name(p), size - 2)).substr(0, 6), "MEMCPY");
    EXPECT_EQ(simplified(copy(name(d), name(p), 0)), "PCONV(d)");
    EXPECT_EQ(simplified(copy(address(name(i)), name(words), 2)), ",OP(=(i U*32(words)) PCONV(U&(i)))");
    EXPECT_EQ(simplified(copy(name(words), sum(address(name(i)), 2), 4)),
              ",OP(,OP(=(U*32(words) U*32(+(U&(i) 2))) =(U*32(+(words 2)) U*32(+(U&(i) 4)))) PCONV(words))");
    std::string once = simplified(copy(maketree(UCALL, address(name(currfunc)), nullptr, p->type), name(p), size));
    EXPECT_EQ(once.find("UCALL"), once.rfind("UCALL")) << once;
    EXPECT_NE(once.find("STASG"), std::string::npos) << once;
    NODE* mixed = copy(address(name(symbol("f", tp->float_type()))), address(name(i)), 2);
    EXPECT_EQ(simplified(mixed).substr(0, 6), "MEMCPY") << "an assignment would convert";
}

TEST_F(Memory, sequences) {
    SYMTAB* q = symbol("q", tp->mk_ptr(int_type));
    auto step = [&](int there, int back) {
        return maketree(COMMAOP, asg(name(q), sum(name(q), there)), sum(name(q), back), q->type);
    };
    EXPECT_EQ(simplified(step(2, -2)), "++(q 2)");
    EXPECT_EQ(simplified(step(-2, 2)), "--(q 2)");
    EXPECT_EQ(simplified(step(2, -4)).substr(0, 3), ",OP");
    NODE* nested = mk_COMMAOP(asg(name(i), icon(1)), mk_COMMAOP(call(), name(i)));
    EXPECT_EQ(simplified(nested), ",OP(,OP(=(i 1) UCALL(U&(_f))) i)");
    EXPECT_EQ(simplified(mk_COMMAOP(plus(name(i), icon(1)), name(i))), "i");
    NODE* inner = mk_ASG(name(s), name(symbol("t", record)));
    EXPECT_EQ(simplified(maketree(STDOT, inner, field(record, 1), int_type)), ",OP(STASG(s t) .32(s second))");
}

TEST_F(Memory, effects_leave_arguments) {
    SYMTAB* g = declare("g", int_type, {int_type, int_type});
    auto with_effect = [&](NODE* first) { return call_of(g, list(first, mk_COMMAOP(asg(name(i), icon(5)), call()))); };
    EXPECT_EQ(simplified(with_effect(icon(1))), ",OP(=(i 5) CALL(U&(_g) ,(1 UCALL(U&(_f)))))");
    EXPECT_EQ(simplified(with_effect(name(i))).substr(0, 4), "CALL") << "i is read before it is written";
}

TEST_F(Memory, library_calls) {
    TYPE* text_type = tp->mk_ptr(char_type);
    SYMTAB* length = declare("strlen", uint_type, {text_type});
    SYMTAB* copy = declare("strcpy", text_type, {text_type, text_type});
    SYMTAB* print = declare("printf", int_type, {text_type});
    SYMTAB* target = symbol("target", text_type);
    EXPECT_EQ(simplified(call_of(length, text_of("abcd"))), "4");
    EXPECT_EQ(simplified(call_of(length, text_of(std::string("a\0cd", 4)))), "1");
    std::string copied = simplified(call_of(copy, list(name(target), text_of("abcd"))));
    EXPECT_EQ(copied, "PCONV(MEMCPY(,(,(target \"abcd\") 5)))");
    auto printed = [&](const char* text) { return simplified(mk_COMMAOP(call_of(print, text_of(text)), name(i))); };
    EXPECT_NE(printed("x\n").find("_printf"), std::string::npos) << "puts is not declared";
    declare("puts", int_type, {text_type});
    EXPECT_EQ(printed("x\n"), ",OP(CALL(U&(_puts) \"x\") i)");
    EXPECT_NE(printed("100%%\n").find("_printf"), std::string::npos);
    EXPECT_NE(printed("x").find("_printf"), std::string::npos);
    EXPECT_NE(simplified(asg(name(i), call_of(print, text_of("x\n")))).find("_printf"), std::string::npos)
        << "its value is used";
    level_is([] { return 0; });
    EXPECT_EQ(simplified(call_of(length, text_of("abcd"))).substr(0, 4), "CALL");
    level_is([] { return 2; });
    length->sclass = SC_EXTERN_DEF; // the program's own
    EXPECT_EQ(simplified(call_of(length, text_of("abcd"))).substr(0, 4), "CALL");
}

TEST_F(Memory, library_calls_to_others) {
    TYPE *text_type = tp->mk_ptr(char_type), *any = tp->void_ptr;
    TYPE* file = structure("file", {{"fd", int_type}, {"pos", int_type}, {"flags", int_type}});
    TYPE* file_type = tp->mk_ptr(file);
    SYMTAB* move = declare("memmove", any, {any, any, uint_type});
    SYMTAB* print = declare("printf", int_type, {text_type});
    SYMTAB* print_to = declare("fprintf", int_type, {file_type, text_type});
    SYMTAB* root = declare("_sqrt", double_type, {double_type});
    SYMTAB *d = symbol("d", double_type), *stream = symbol("stream", file_type), *out = symbol("out", text_type);
    EXPECT_EQ(simplified(call_of(root, name(d))), "SQRT(d)");
    auto moved = [&](NODE* from) {
        return simplified(call_of(move, list(list(mk_PCONV(name(out), any), mk_PCONV(from, any)), icon(3))));
    };
    std::string text = moved(text_of("abcd"));
    EXPECT_NE(text.find("MEMCPY"), std::string::npos) << text;
    EXPECT_EQ(moved(name(symbol("other", text_type))).substr(0, 4), "CALL") << "the two may overlap";
    // Of the printing functions the value must not be used.
    auto ignored = [&](NODE* tree) { return simplified(mk_COMMAOP(tree, name(i))); };
    auto to_file = [&](const char* format) { return ignored(call_of(print_to, list(name(stream), text_of(format)))); };
    EXPECT_NE(to_file("x").find("_fprintf"), std::string::npos) << "fputs is not declared";
    declare("fputs", int_type, {text_type, file_type});
    EXPECT_EQ(to_file("x"), ",OP(CALL(U&(_fputs) ,(\"x\" stream)) i)");
    EXPECT_NE(to_file("%d").find("_fprintf"), std::string::npos);
    EXPECT_NE(ignored(call_of(print, text_of("x"))).find("_printf"), std::string::npos) << "the table is not declared";
    global("__ftable", tp->mk_array(file, 10, false), SC_EXTERN_DECL);
    std::string printed = ignored(call_of(print, text_of("x")));
    EXPECT_EQ(printed, ",OP(CALL(U&(_fputs) ,(\"x\" +(U&(__ftable) 6))) i)") << "stdout is the second";
}

TEST_F(Memory, immutable_objects) {
    SYMTAB* c = global("c", tp->mk_qual(int_type, QUAL_CONST));
    SYMTAB* reader = symbol("reader", tp->mk_ptr(tp->mk_qual(int_type, QUAL_CONST)));
    EXPECT_TRUE(symbol_is_immutable(c));
    auto immutable = [](NODE* lvalue) {
        bool answer = lvalue_is_immutable(lvalue);
        erase_tree(lvalue);
        return answer;
    };
    EXPECT_TRUE(immutable(name(c)));
    EXPECT_FALSE(immutable(name(i)));
    EXPECT_FALSE(immutable(deref(name(reader)))) << "another name of the object may be written";
    EXPECT_TRUE(immutable(deref(mk_PCONV(address(name(c)), reader->type))));
}

} // namespace
