// What hand-written text may leave out, and what is said of wrong text.
#include "text_test.h"

#include <map>

namespace {

using namespace text_test;
using nxtext::DOCUMENT;

TEST(TextAssemble, TheModelIsPutInFront) {
    const DOCUMENT doc = nxtext::decode(assembled(""));
    // kind and size of each type, in order
    std::string seen;
    for (const nxtext::TYPE_REC& t : doc.types)
        if (t.kind < 10 || t.kind >= 50)
            seen += std::to_string(t.kind) + ":" + std::to_string(t.v[1]) + " ";
        else if (t.kind < 13)
            seen += std::to_string(t.kind) + ":" + std::to_string(t.v[0]) + " ";
    EXPECT_EQ(seen, "0:16 1:16 2:16 4:16 5:16 6:32 7:32 8:32 9:32 50:64 51:64 10:32 11:64 12:64 ");
    EXPECT_EQ(doc.types[0].v[3], 1U); // bool is marked as a boolean
    EXPECT_EQ(doc.types.back().kind, nxtext::TK_POINTER);
}

TEST(TextAssemble, StructsAreLaidOut) {
    const DOCUMENT doc =
        nxtext::decode(assembled("struct S { a: char, b: int, c: uint bits 3, d: uint bits 30, e: uint bits 2\n"
                                 "f: short, d2: double }\n"
                                 "union U { a: char, s: struct S, b: int[3] }\n"
                                 "struct G\n"
                                 "struct H { g: struct G* }\n"
                                 "struct G { h: struct H*, next: struct G*, v: ushort[] }\n"));
    std::map<std::string, int> offset;
    std::map<std::string, std::pair<uint32_t, uint32_t>> size;
    for (const nxtext::TYPE_REC& t : doc.types) {
        if (t.kind == nxtext::TK_MEMBER) offset[t.name] = static_cast<int>(t.v[3]);
        if (t.kind == nxtext::TK_CSU) size[t.name] = {t.v[3], t.v[4]};
        if (t.kind == nxtext::TK_MEMBER && t.name == "d") { EXPECT_EQ(t.v[5], 30U); }
    }
    // S: a 0, b 32, c 64..66, d would cross the int's border: 96..125, e 126..127, f 128, g 192
    EXPECT_EQ(offset["c"], 64);
    EXPECT_EQ(offset["d"], 96);
    EXPECT_EQ(offset["e"], 126);
    EXPECT_EQ(offset["f"], 128);
    EXPECT_EQ(offset["d2"], 192);
    EXPECT_EQ(size["S"], std::make_pair(256U, 64U));
    EXPECT_EQ(offset["s"], 0);
    EXPECT_EQ(size["U"], std::make_pair(256U, 64U));
    EXPECT_EQ(offset["next"], 32);
    EXPECT_EQ(size["G"], std::make_pair(64U, 32U));
}

TEST(TextAssemble, TheHeaderOfAFunctionIsMade) {
    const DOCUMENT doc = nxtext::decode(assembled("func _f: int(int, short*) {\nparm a: int\nparm b: short*\n.prolog\n"
                                                  "local c: int\n.pragma UNROLL \"4\"\nL1:\nreturn a\n}\n"));
    std::string ids;
    for (const nxtext::ITEM& i : doc.body) ids += std::to_string(i.id) + " ";
    EXPECT_EQ(ids, "1 35 35 5 35 35 35 6 94 46 42 46 2 ");
}

struct BAD {
    const char* source;
    int line, column;
    const char* text;
};

const BAD wrong[] = {
    {"global _x: struct S\n", 1, 12, "struct S is not defined"},
    {"global _x: $99\n", 1, 12, "type $99 is not defined"},
    {"func _f {\n", 1, 6, "'_f' is not declared"},
    {"func _f: int() {\n  x = 5\n}\n", 2, 3, "'x' is not declared"},
    {"func _f: int() {\n  return 1 + 2 + 3\n}\n", 2, 16, "parentheses must show which operator goes first"},
    {"func _f: int() {\n  if (1) goto L2\n}\n", 2, 6,
     "'!(condition) goto label', which jumps when the condition is zero, is expected, not '('"},
    {"func _f: int() {\n  return 5000000000\n}\n", 2, 10, "the number does not fit its type"},
    {"func _f: int() {\n  return \"abc\n}\n", 2, 14, "the quote has no end on its line"},
    {"func _f: int() {\n  return nop[]\n", 1, 1, "the function or block that begins here has no end"},
    {"func _f: int() {\n  return op33[]\n}\n", 2, 10, "the type of this must be written"},
    {"struct S { a: int }\nglobal _s: struct S\nfunc _f: int() {\n  return _s.b\n}\n", 4, 13,
     "no member 'b' in struct S"},
    {"func _f: int() {\n  return 0 }\n", 2, 12, "the end of the line is expected, not '}'"},
    {"func _f: int() {\n  return 1 ? 2\n}\n", 2, 12, "this character has no meaning here"},
    {".type 3 = int\n", 1, 7, "type 3 is defined already"},
    {"static _t: int[2] = { 1 2 }\n", 1, 25, "',' or '}' is expected, not '2'"},
    {"func _f: int() {\n  switch 1 { 1 -> L1 }\n}\n", 2, 16, "what stands in front is no pointer to a struct or union"},
    {"func _f: int() {\n  .pragma NO_SUCH\n}\n", 2, 11, "'NO_SUCH' is no kind of pragma"},
};

TEST(TextAssemble, FaultsNameTheirPlace) {
    for (const BAD& b : wrong) {
        try {
            assembled(b.source);
            ADD_FAILURE() << "no fault is found in " << b.source;
        } catch (const nxtext::text_fault& f) {
            EXPECT_EQ(std::string(f.what()), b.text) << b.source;
            EXPECT_EQ(f.line, b.line) << b.source;
            EXPECT_EQ(f.column, b.column) << b.source;
        }
    }
}

TEST(TextAssemble, DeepNestingIsRefusedAndLongListsAreNot) {
    const auto function = [](const std::string& statement) {
        return "func _f: int() {\nreturn " + statement + "\n}\n";
    };
    const int many = 100000;
    for (const std::string open : {"(", "-", "!", "*", "abs(", "(int)"})
        EXPECT_THROW(assembled(function([&] {
                         std::string s;
                         for (int i = 0; i < many; i++) s += open;
                         return s + "1";
                     }())),
                     nxtext::text_fault);
    std::string type = "global _x: int";
    for (int i = 0; i < many; i++) type += "(int";
    EXPECT_THROW(assembled(type), nxtext::text_fault);
    std::string list = "commaop(1";
    for (int i = 0; i < many; i++) list += ", 1";
    const std::string bytes = assembled(function(list + ")"));
    EXPECT_EQ(there_and_back(bytes), bytes);
}

} // namespace
