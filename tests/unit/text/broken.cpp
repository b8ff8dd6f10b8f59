// Files and texts that are cut or changed anywhere end in a message, never in a fault of the tools.
#include "text_test.h"

namespace {

using namespace text_test;

const char* const program = R"nxa(; a little of everything
struct S { a: int, f: uint bits 3 }
enum E { A, B = 5 }
static _t: int[4] = { 1, 2, skip[2] }
global _m: char const* = { (char const*)"hi\0" }
extern _p: int(char const*, ...)
func _f: int(struct S, int) pragma(SRC_LANGUAGE "C") @"t.c":1:2 {
  parm s: struct S
  parm n: int @3:4
  .prolog
  local q: llong
  q = 4294967296
  {
    local i: int
    i = (quest(n, s.a, -1) + (int)s.f)
    .pragma UNROLL "4"
  }
L1:
  if !(n u< 5) goto L1 @7:8
  switch n { 1 => L1, default => L2 }
L2:
  _p(_m, 1, 2.5){eh 1}
  .eht {
    1 kind 2 next 0 catch("T", 2, 1)
    2 kind 1 next 1 cleanup n = 0
  }
  .raw 58 "010203"
  return n
}
)nxa";

// Whatever comes of the bytes, it comes as a document or as file_fault; a document shows, or file_fault again, and the
// text of it is read or refused at a place.
void try_file(const std::string& bytes) {
    std::string text;
    try {
        const nxtext::DOCUMENT doc = nxtext::decode(bytes);
        nxtext::check(doc);
        text = nxtext::print(doc);
    } catch (const nxtext::file_fault&) { return; }
    try {
        nxtext::DOCUMENT doc = nxtext::parse(text, "t.nxa");
        nxtext::encode(doc);
    } catch (const nxtext::text_fault&) {}
}

void try_text(const std::string& text) {
    try {
        nxtext::DOCUMENT doc = nxtext::parse(text, "t.nxa");
        nxtext::check(doc);
        const std::string bytes = nxtext::encode(doc);
        EXPECT_EQ(there_and_back(bytes), bytes);
    } catch (const nxtext::text_fault& f) {
        EXPECT_GE(f.line, 1);
        EXPECT_GE(f.column, 1);
    } catch (const nxtext::file_fault&) { // a text can say more than can be shown: an end that is missing
    }
}

TEST(TextBroken, FilesCutAnywhere) {
    const std::string bytes = assembled(program);
    EXPECT_EQ(there_and_back(bytes), bytes);
    for (size_t n = 0; n < bytes.size(); n++) EXPECT_THROW(nxtext::decode(bytes.substr(0, n)), nxtext::file_fault) << n;
}

TEST(TextBroken, FilesChangedAnywhere) {
    const std::string bytes = assembled(program);
    for (size_t i = 0; i < bytes.size(); i++)
        for (int change : {1, 2, 4, 8, 16, 32, 64, 128, 255}) {
            std::string other = bytes;
            other[i] = static_cast<char>(other[i] ^ change);
            try_file(other);
        }
}

TEST(TextBroken, TextsCutOrChangedAnywhere) {
    const std::string text = program;
    for (size_t n = 0; n < text.size(); n++) try_text(text.substr(0, n));
    for (size_t i = 0; i < text.size(); i++)
        for (const char c : {'\0', '(', '}', ':', '9', '"', '\n', '$', '.'}) {
            std::string other = text;
            other[i] = c;
            try_text(other);
        }
}

TEST(TextBroken, TheMagicRecordIsChecked) {
    const auto message = [](const PARTS& p) -> std::string {
        try {
            nxtext::decode(file(p));
        } catch (const nxtext::file_fault& f) { return f.what(); }
        return "";
    };
    PARTS p;
    p.version = -87;
    EXPECT_EQ(message(p), "icode version -87 is not known");
    p.version = -72;
    EXPECT_EQ(message(p), "icode version -72 is not known");
    p = PARTS();
    p.cpu = 500;
    EXPECT_EQ(message(p), "the file is for CPU id 500, not 1000");
    p = PARTS();
    p.magic = "!<arch>\n";
    EXPECT_EQ(message(p), "this is not an icode file: the magic text is another one");
}

struct FAULT {
    const char* lines;
    const char* text;
};

// One fault each; the same function without it is well formed.
const FAULT faults[] = {
    {"  _x = _p", "asg: the value has another type than the object"},
    {"  _x = (_x + _u)", "plus: an operand has another type than the result"},
    {"  _x = (_u < 3)", ""},
    {"  _x = (_x < _u)", "lt: its operands have different types"},
    {"  _x = (*_x):int", "umult: its operand is no pointer"},
    {"  goto L9", "label L9 is not defined"},
    {"L9:\nL9:", "label L9 is defined 2 times"},
    {"  switch _x { 1 => L1, 1 => L1 }", "switch: two cases have one value"},
    {"  switch _x { default => L1 }", "switch: it has no case"},
    {"  switch _x { default => L1, 1 => L1 }", "switch: the default is not the last of its list"},
    {"  (_x + 1) = 3", "asg: its left side is no object"},
    {"  _x = (int)&_s.f", "uand: a bit-field has no address"},
    {"  _h(_x, _x)", "call: it has too many arguments"},
    {"  _h(_u)", "call: an argument has another type than its parameter"},
    {"  _x = parm(n)", "parameter n is used outside of the prolog"},
    {"  _c = 70000:short", "icon: the value does not fit its type"},
    {"  _x = pmconv(_x, 8)", "pmconv: its right operand is no constant that is a multiple of 16"},
    {"  op33[]:int", "opcode 33 does not belong into a file"},
    {"  comma(_x, _x)", "comma: a list must not stand here"},
    {"  colon(_x, _x)", "colon: arms must not stand here"},
    {"  _h", "function _h is named but neither called nor is its address taken"},
    {"  nothing", "it has no tree"},
    {"  return_from(_x, 3)", "return_from: it does not name its function"},
    {"  _x ++ _x", "plusplus: its step is no constant"},
};

TEST(TextCheck, FindsEachFault) {
    const std::string head =
        "struct S { a: int, f: uint bits 3 }\nglobal _s: struct S\nglobal _x: int\nglobal _u: uint\n"
        "global _p: int*\nglobal _c: short\nextern _h: int(int)\n"
        "func _f: int(int) {\n  parm n: int\n  .prolog\n";
    const std::string tail = "\nL1:\n  return _h((n + _s.a))\n}\n";
    EXPECT_TRUE(nxtext::check(nxtext::parse(head + tail, "t")).empty());
    for (const FAULT& f : faults) {
        const std::vector<std::string> found = nxtext::check(nxtext::parse(head + f.lines + tail, "t"));
        const std::string want = f.text;
        if (want.empty()) {
            EXPECT_TRUE(found.empty()) << f.lines << ": " << (found.empty() ? "" : found[0]);
            continue;
        }
        ASSERT_FALSE(found.empty()) << f.lines;
        EXPECT_EQ(found.size(), 1U) << f.lines;
        EXPECT_NE(found[0].find(want), std::string::npos) << f.lines << " gives: " << found[0];
    }
}

TEST(TextCheck, InitialisersHoldLinkConstantsThatFit) {
    const auto first = [](const char* text) -> std::string {
        const auto found = nxtext::check(nxtext::parse(text, "t"));
        return found.empty() ? "" : found[0];
    };
    EXPECT_EQ(first("static _t: int[2] = { 1, 2 }\nglobal _p: int* = { (&_t + 2) }\n"), "");
    EXPECT_EQ(first("static _t: int[2] = { 1, skip[4] }\n"),
              "initialiser of _t: its values take 96 bits, the object has 64");
    EXPECT_EQ(first("static _t: int[2] = { (1 * 2) }\n"),
              "initialiser of _t: a value is no constant that a linker can place");
}

} // namespace
