// Every record there is, byte by byte, through the text form and back.
#include "text_test.h"

namespace {

using namespace text_test;

TEST(TextRoundTrip, EmptyFile) {
    const std::string bytes = file({});
    EXPECT_EQ(there_and_back(bytes), bytes);
    EXPECT_EQ(bytes.substr(bytes.size() - 2), "\xFF\xFF"); // end of the body, and the empty section of globals
}

TEST(TextRoundTrip, EveryAcceptedVersionKeepsItsOwnRecordForms) {
    for (int version = -86; version <= -73; version++) {
        PARTS p;
        p.version = version;
        const std::string tail = version >= -84 ? "00" : ""; // struct vector
        const std::string cpp = version >= -81 ? "00" : "";
        const std::string member = version == -86  ? "01 03 00" // flag first
                                   : version < -74 ? "03 01 00 00"
                                                   : "00 03 01 00 00";
        const std::string array = version >= -76 ? "00" : "";
        const std::string extra = version == -75 || version == -74 ? "01" : "";
        p.types =
            record(116, hex("01 06 00 20 20 00 00")) + record(116, hex("02 12 01 03 60 20 00 01" + array + extra)) +
            record(116, hex("03 18 00") + text("S") + hex("01 00 20 20 01" + tail + cpp + "00")) +
            record(116, hex("03 FE 07")) + record(116, hex("03 1C 01") + text("f") + hex("01 00 05" + member + "00")) +
            record(116, hex("03 FF 07")) + record(116, hex("04 16") + text("E") + hex("20 20 01" + cpp + "00"));
        const std::string bytes = file(p);
        EXPECT_EQ(there_and_back(bytes), bytes) << "version " << version;
        EXPECT_NE(shown(bytes).find("f: int at 5 bits 3"), std::string::npos) << "version " << version;
    }
}

TEST(TextRoundTrip, EveryKindOfType) {
    PARTS p;
    p.files = record(126, text("a.c"));
    p.types = usual_types() + record(116, hex("14 0D 0F 01 01 20 20")) +                      // fixed point
              record(116, hex("15 0E") + text("T") + hex("01 20 20 00 01 01 05 02")) +        // typedef
              record(116, hex("16 10 01 20 20")) + record(116, hex("17 11 01 C3 01 20 20")) + // reference, qualified
              record(116, hex("18 12 01 00 00 20 00 00 00")) +                                // array without bound
              record(116, hex("19 12 01 04 80 01 40 00 01 01")) +                             // vector
              record(116, hex("1A 13 01 0A 20 20")) +                                         // pointer to member
              record(116, hex("1B 14 01 01 00 05 01")) + record(116, hex("1B FE 00")) +       // odd function
              record(116, hex("1B 15 01 00 02") + text("p")) + record(116, hex("1B FF 00")) +
              record(116, hex("1C 16") + text("E") + hex("20 20 01 00 01 07 03")) + record(116, hex("1C FE 01")) +
              record(116, hex("1C 17") + text("A") + hex("7F 00")) +          // -1
              record(116, hex("1C 17") + text("B") + hex("C0 00 01 08 01")) + // 64
              record(116, hex("1C FF 01")) +
              record(116, hex("1D 19 02") + text("K") + hex("01 00 20 20 05 01 01 01 01 01 01 01 01 01 00 01 00")) +
              record(116, hex("1D FE 02")) + record(116, hex("1D 1D 0A 60 01 01")) + record(116, hex("1D FF 02")) +
              record(116, hex("1D FE 03")) + record(116, hex("1D 1E 00 02")) + record(116, hex("1D FF 03")) +
              record(116, hex("1D FE 04")) + record(116, hex("1D 1F") + text("g") + hex("05")) +
              record(116, hex("1D FF 04")) + record(116, hex("1D FE 05")) + record(116, hex("1D 20 0A")) +
              record(116, hex("1D FF 05")) + record(116, hex("1D FE 06")) + record(116, hex("1D 21 0A")) +
              record(116, hex("1D FF 06")) + record(116, hex("1D FE 07")) +
              record(116, hex("1D 1C 07") + text("m") + hex("01 01 7F 05 20 00 01 00 00")) +
              record(116, hex("1D FF 07")) + record(116, hex("1D FE 08")) +
              record(116, hex("1D 22") + text("sd") + hex("01 02")) + record(116, hex("1D FF 08")) +
              record(116, hex("1D FE 09")) + record(116, hex("1D 23") + text("mf") + hex("05 00 7F 01 00 01 00")) +
              record(116, hex("1D FF 09")) + record(116, hex("1E 24 80 01 40 09")) + // complex
              record(116, hex("1F 00 00 10 10 01 00")) + record(116, hex("20 0C 40 40")) +
              record(116, hex("21 01 01 10 10 00 00")) + // signed char
              record(116, hex("22 0F 01 20 20"));        // int* once more
    const std::string bytes = file(p);
    EXPECT_EQ(there_and_back(bytes), bytes);
}

// Types may be defined while the list of another one is open, and lists may be left open.
TEST(TextRoundTrip, TypesInsideOfLists) {
    PARTS p;
    p.types = record(116, hex("01 18 00") + text("N") + hex("01 00 40 20 01 00 00 00")) + record(116, hex("01 FE 07")) +
              record(116, hex("02 0F 01 20 20")) + record(116, hex("03 06 00 20 20 00 00")) +
              record(116, hex("04 14 03 00 01 00 00")) + record(116, hex("04 FE 00")) +
              record(116, hex("04 15 02 00 00 00")) + record(116, hex("04 FF 00")) +
              record(116, hex("01 1C 01") + text("next") + hex("02 00 00 00 20 00 00 00 00")) +
              record(116, hex("01 1C 09") + text("v") + hex("03 00 20 00 20 00 00 00 00")) +
              record(116, hex("01 FF 07"));
    EXPECT_EQ(there_and_back(file(p)), file(p));
    p.types += record(116, hex("05 14 03 00 01 00 00")) + record(116, hex("05 FE 00"));
    EXPECT_EQ(there_and_back(file(p)), file(p));
}

TEST(TextRoundTrip, SymbolsAndTheirPragmas) {
    PARTS p;
    p.types = usual_types();
    p.files = record(126, text("a.c")) + record(126, text("a.c")) + record(126, text("b \"quoted\".c"));
    p.options = record(111, hex("05 02") + text("--x=1") + text(""));
    p.globals = record(35, text("_a") + hex("20 07 6C 84 10 01 08 40 02 2A 05 03 80 01 01")) +
                record(94, hex("31 01") + text("C")) + record(94, hex("FF 01 02") + text("") + text("\x01\xFE")) +
                record(35, text("odd name.1") + hex("20 00 05 00 00 01 00 20 00 00 00 00")) +
                record(35, text("_a") + hex("20 00 02 00 00 01 00 20 00 00 00 02 01 01"));
    p.inits = record(105, hex("02")) + node("04 01 05") + node("70 00");
    const std::string bytes = file(p);
    std::string placed = bytes;
    EXPECT_EQ(there_and_back(bytes), bytes);
    // two globals of one name: the second is meant by its number
    EXPECT_NE(shown(bytes).find(".init _a#g2 = { 5 }"), std::string::npos);
}

TEST(TextRoundTrip, EveryRecordOfABody) {
    PARTS p;
    p.files = record(126, text("a.c"));
    const std::string local =
        record(35, text("v") + hex("20 00 01 00 00 01 00 20 01 00 00 01 03 04")) + record(94, hex("01 00"));
    const std::string records =
        record(36, text("nop") + hex("01 02 03")) + record(36, text("") + hex("00")) + record(47, text("a; \"b\"\n")) +
        record(94, hex("29 02") + text("5") + text("for")) + record(64, hex("4C")) + record(64, hex("FF")) +
        record(42, hex("01")) + record(42, hex("80 80 04")) + record(3, hex("01 05 06")) + local +
        record(4, hex("00")) + local + record(38, hex("01 02 03 04 05 06 00")) + record(45, hex("01 02 03 04 05")) +
        record(58, hex("01 02 03")) + record(59, hex("01 00 02 05 FF 06 01")) + record(108, hex("01 02 00")) +
        record(124, hex("01 00 7F 01")) + record(46, hex("00")) + record(46, hex("01 80 01 00")) + node("02 01 00 01") +
        record(34, hex("00 AA FF 00")) + record(93, hex("00")) + record(93, hex("04")) +
        record(91, hex("00 00 00 00")) + record(91, hex("01 01 00 00")) + record(46, hex("01 01 01")) +
        node("02 01 00 01") + record(91, hex("02 02 01 02")) +
        record(63, text("X") + hex("01 01") + text("") + hex("00 00")) + record(91, hex("03 05 00 07")) +
        node("04 01 05") + record(126, text("b.c"));
    p.body = record(123, hex("01 7F 00 02 00")) + record(125, hex("00")) + record(47, text("end"));
    const std::string bytes = function_file(records, p);
    EXPECT_EQ(there_and_back(bytes), bytes);
}

// Trees of one statement each; what the text shows of them is part of the contract with hand-written tests.
struct SHOWN {
    const char* text;
    const char* nodes[8]; // bytes of the records 101
};

const SHOWN statements[] = {
    {"_x = 5", {"3A 01", "02 01 00 01", "04 01 05"}},
    {"_x = -56", {"3A 01", "02 01 00 01", "04 01 48"}},
    {"_x = 200", {"3A 01", "02 01 00 01", "04 01 C8 01"}},
    {"_x = 200:uint", {"3A 01", "02 01 00 01", "04 02 C8 01"}},
    {"_x = -2147483648", {"3A 01", "02 01 00 01", "04 01 80 80 80 80 78"}},
    {"_x = 4294967295:uint", {"3A 01", "02 01 00 01", "04 02 FF FF FF FF 0F"}},
    {"_x = icon[4294967295]:{char*}", {"3A 01", "02 01 00 01", "04 04 FF FF FF FF 0F"}},
    {"_x += (_x - _x)", {"07 01", "02 01 00 01", "08 01", "02 01 00 01", "02 01 00 01"}},
    {"_x = (_x + _x):uint", {"3A 01", "02 01 00 01", "06 02", "02 01 00 01", "02 01 00 01"}},
    {"(_x = 5):none", {"3A 00", "02 01 00 01", "04 01 05"}},
    {"_s.a ++ 1", {"4E 01", "44 01", "02 0A 00 02", "1A 01 01 01 0A", "04 01 01"}},
    {"_s.a:uint = 1", {"3A 02", "44 02", "02 0A 00 02", "1A 01 01 01 0A", "04 02 01"}},
    {"stdot(_s, field[2, 1, 10])", {"44 01", "02 0A 00 02", "1A 01 02 01 0A"}},
    {"stdot(_s, field[1, 9, 10]:int):int", {"44 01", "02 0A 00 02", "1A 01 01 09 0A"}},
    {"-(5)", {"0A 01", "04 01 05"}},
    {"return", {"76 06", "02 05 00 00"}},
    {"return 3", {"24 01", "02 05 00 00", "04 01 03"}},
    {"return_from(_x, 3)", {"24 01", "02 01 00 01", "04 01 03"}},
    {"goto L7", {"72 01", "01 01 07"}},
    {"if !(_x u< _x) goto L300", {"6D 01", "57 01", "02 01 00 01", "02 01 00 01", "01 01 AC 02"}},
    {"branch(L7:none)", {"72 01", "01 00 07"}},
    {"switch _x { 1 => L1, default => L2 }",
     {"28 01 01", "02 01 00 01", "38 01", "2F 01", "04 01 01", "01 01 01", "2E 01", "01 01 02"}},
    {"switch[3](_x, default(L2))", {"28 01 03", "02 01 00 01", "2E 01", "01 01 02"}},
    {"_f()", {"48 01 00", "10 0B", "02 05 00 00"}},
    {"_f(_x){extra 1, eh 2}", {"46 01 01 02", "10 0B", "02 05 00 00", "02 01 00 01"}},
    {"call(_x):int", {"48 01 00", "02 01 00 01"}},
    {"call(_x, 1, 2){eh 9}:void", {"46 06 00 09", "02 01 00 01", "38 01", "04 01 01", "04 01 02"}},
    {"umcall[\"_never_executed\"]", {"85 06 5F 6E 65 76 65 72 5F 65 78 65 63 75 74 65 64 00"}},
    {"icall[\"b\"](1)", {"81 01 62 00", "04 01 01"}},
    {"*&_x = 1", {"3A 01", "0D 01", "10 08", "02 01 00 01", "04 01 01"}},
    {"_x = (int)\"a\\0\\xff\"", {"3A 01", "02 01 00 01", "68 01", "03 04 03 61 00 FF"}},
    {"(char*)\"\"", {"69 04", "03 04 00"}},
    {"lcon[\"5\"]:llong", {"19 07 35 00"}},
    {"4294967296:llong", {"19 07 34 32 39 34 39 36 37 32 39 36 00"}},
    {"0x1.8p+1", {"05 09 30 78 31 2E 38 70 2B 31 00"}},
    {"fcon[\"NaN\"]", {"05 09 4E 61 4E 00"}},
    {"-1.5e3:int", {"05 01 2D 31 2E 35 65 33 00"}},
    {"name[4294967295, 4294967295]:int", {"02 01 FF FF FF FF 0F FF FF FF FF 0F"}},
    {"name[7, 0]:int", {"02 01 07 00"}},
    {"_x:uint", {"02 02 00 01"}},
    {"pmconv(_x, 16)", {"6A 01", "02 01 00 01", "04 01 10"}},
    {"quest(_x, 1, 2)", {"15 01", "02 01 00 01", "16 01", "04 01 01", "04 01 02"}},
    {"quest(_x, colon(1, 2):none):int", {"15 01", "02 01 00 01", "16 00", "04 01 01", "04 01 02"}},
    {"pcomma(_x = 1, _x = 2)", {"39 06", "3A 01", "02 01 00 01", "04 01 01", "3A 01", "02 01 00 01", "04 01 02"}},
    {"commaop(_x, 1, 2)", {"3B 01", "3B 01", "02 01 00 01", "04 01 01", "04 01 02"}},
    {"epval[4294967295](_x)", {"6E 01 FF FF FF FF 0F", "02 01 00 01"}},
    {"ddnode[1, 300, 255](_x)", {"77 01 01 AC 02 FF", "02 01 00 01"}},
    {"op33[]:int", {"21 01"}},
    {"vreg[4294967295]:int", {"A3 01 7F"}},
    {"!(!_x)", {"4C 01", "4C 01", "02 01 00 01"}},
    {"label[3]", {"01 01 03"}},
    {"skip[9]", {"73 00 09"}},
};

TEST(TextRoundTrip, EveryShapeOfTree) {
    for (const SHOWN& s : statements) {
        std::string nodes;
        for (const char* n : s.nodes)
            if (n != nullptr) nodes += node(n);
        const std::string bytes = function_file(statement(nodes));
        EXPECT_EQ(there_and_back(bytes), bytes) << s.text;
        EXPECT_EQ(statement_text(nodes), s.text);
    }
}

TEST(TextRoundTrip, NamesThatMeanSomethingElse) {
    for (const char* name :
         {"int", "L1", "goto", "$5", "a.b", "9lives", "it's", "\x01", "u", "name", "call", "local"}) {
        const std::string local =
            record(35, text(name) + hex("20 00 01 00 00 01 00 20 00 00 00 00")) +
            statement(node("3A 01") + node("02 01 02 00") + node("57 01") + node("02 01 02 00") + node("02 01 02 00"));
        const std::string bytes = function_file(local);
        EXPECT_EQ(there_and_back(bytes), bytes) << name;
    }
}

// A local may hide a global or a parameter, and one local of a name may follow another whose block has ended.
TEST(TextRoundTrip, OneNameForSeveralSymbols) {
    const std::string v = record(35, text("_x") + hex("20 00 01 00 00 01 00 20 00 00 00 00"));
    const std::string parameter = record(35, text("_x") + hex("20 00 11 00 00 01 00 20 00 00 00 00"));
    std::string uses;
    for (const char* n : {"02 01 00 01", "02 01 01 00", "02 01 02 01", "02 01 03 02", "02 01 03 03", "02 01 02 00"})
        uses += statement(node(n));
    PARTS p;
    p.types = usual_types();
    p.globals =
        record(35, text("_f") + hex("00 00 02 00 00 05 00 00 00 2A 00 00")) + global("_x", "20", 2, "01", "20", "00");
    p.body = record(1, hex("00 00")) + parameter + record(5, hex("00")) + v + record(6, hex("00")) +
             record(3, hex("00")) + v + uses.substr(0, uses.size() / 6 * 4) + record(4, hex("00")) +
             record(3, hex("00")) + v + uses + record(4, hex("00")) + uses + record(2, hex("00"));
    const std::string bytes = file(p);
    EXPECT_EQ(there_and_back(bytes), bytes);
    EXPECT_NE(shown(bytes).find("parm(_x)"), std::string::npos);
}

} // namespace
