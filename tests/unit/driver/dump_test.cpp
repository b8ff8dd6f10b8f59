#include "driver/dump.h"

#include "../ir/small_function.h"
#include "ir/bitvec.h"
#include "ir/trace.h"

#include <algorithm>
#include <functional>

namespace {

// What a listing of one function writes to the debug log.
class Dumps : public SmallFunction {
  protected:
    static std::string log_of(const std::function<void()>& action) {
        char* buffer = nullptr;
        size_t size = 0;
        fdebug = open_memstream(&buffer, &size);
        print_debug = 1;
        action();
        fclose(fdebug);
        fdebug = nullptr;
        print_debug = 0;
        std::string text(buffer, size);
        free(buffer);
        return text;
    }
};

TEST_F(Dumps, TreesShowOperandsBelowTheirOperation) {
    SYMTAB* a = symbol("a", int_type);
    NODE* tree = asg(name(a), plus(name(a), icon(2)));
    EXPECT_EQ(log_of([&] { prtree(tree, 2); }), "  ASG  [int]\n"
                                                "    NAME a  [int]\n"
                                                "    PLUS  [int]\n"
                                                "      NAME a  [int]\n"
                                                "      ICON 2  [int]\n");
    EXPECT_EQ(log_of([&] { prtree1(tree); }), "a = (a + 2)\n");
    EXPECT_EQ(log_of([] { prtree(nullptr, 0); }), "<none>\n");
    erase_tree(tree);

    NODE* deep = icon(0); // far deeper than the stack of a recursion
    for (int i = 0; i < 20000; i++) deep = plus(deep, icon(1));
    std::string text = log_of([&] { prtree(deep, 0); });
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 40001);
}

TEST_F(Dumps, TracesIndentWhatStandsInside) {
    SYMTAB* a = symbol("a", int_type);
    NODE* tree = plus(name(a), icon(2));
    EXPECT_EQ(log_of([&] {
                  tprintf("one\n");
                  trace outer("outer", tree);
                  tprintf("two\n");
                  {
                      trace inner("inner", "more");
                      tprintf("three\n");
                      dump_stack();
                  }
                  tprintf("four\n");
              }),
              "one\nouter: (a + 2)\n  two\n  inner more\n    three\n    in inner\n    in outer\n  four\n");
    EXPECT_EQ(trace_indentation, 0);
    EXPECT_EQ(trace::innermost(), nullptr);
    erase_tree(tree);
}

TEST_F(Dumps, StructsShowPlacesFromTheOutermostStruct) {
    TYPE* inner = structure("in", {{"x", int_type}, {"y", int_type}});
    TYPE* outer = structure("out", {{"a", int_type}, {"b", inner}, {"c", int_type, 3}});
    std::string text = log_of([&] { dump_struct(outer, 0); });
    EXPECT_NE(text.find("    0: a; int, 32 bits\n"), std::string::npos) << text;
    EXPECT_NE(text.find("   32: b; struct in, 64 bits\n"), std::string::npos) << text;
    EXPECT_NE(text.find("   64: y; int, 32 bits\n"), std::string::npos) << text;
    EXPECT_NE(text.find("   96: c; int, 3 bits, bit-field\n"), std::string::npos) << text;
    EXPECT_EQ(log_of([&] { dump_struct(int_type, 0); }), "int is no struct\n");
}

TEST_F(Dumps, BlocksSymbolsAndSets) {
    begin_body();
    SYMTAB* a = symbol("a", int_type);
    block({asg(name(a), icon(1)), give_back(name(a))})->dfn = 1;
    EXPECT_EQ(log_of([] { dump_bblist(); }), "BB1 (block 0): 2 statements; preds; succs\n");
    std::string symbols = log_of([&] { dump_symbol_list(a, fdebug); });
    EXPECT_EQ(symbols.find("    a                    auto             int; 32 bits"), 0u) << symbols;
    BITVEC set(40);
    set.bv_add(3);
    set.bv_add(33);
    std::string members = log_of([&] { dump_bitvec(&set); });
    EXPECT_NE(members.find("33"), std::string::npos);
    EXPECT_EQ(log_of([] { dump_bitvec(nullptr); }), "{none}\n");
    prtree1(nullptr); // without a log nothing happens
    dump_bblist();
    dump_symbol_list(a, nullptr);
}

} // namespace
