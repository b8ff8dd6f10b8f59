// Shortcuts of the text form's tests.
#ifndef TEXT_TEST_H
#define TEXT_TEST_H

#include "bytes.h"
#include "text.h"

#include <gtest/gtest.h>

namespace text_test {

// What nxas(nxdis(file)) gives.
inline std::string there_and_back(const std::string& bytes) {
    nxtext::DOCUMENT doc = nxtext::parse(nxtext::print(nxtext::decode(bytes)), "test.nxa");
    return nxtext::encode(doc);
}

inline std::string shown(const std::string& bytes) { return nxtext::print(nxtext::decode(bytes)); }

inline std::string assembled(const std::string& source) {
    nxtext::DOCUMENT doc = nxtext::parse(source, "test.nxa");
    return nxtext::encode(doc);
}

// A file with the usual types, three globals and one function whose body holds the records.
inline std::string function_file(const std::string& records, PARTS p = {}) {
    p.types = usual_types();
    p.body =
        record(1, hex("00 00")) + record(5, hex("00")) + record(6, hex("00")) + records + record(2, hex("00")) + p.body;
    const size_t magic = 2 + 10 + 4 + 20 + p.producer.size() + 1 + (p.version >= -83 ? 4 : 0);
    std::string at(1, static_cast<char>(magic));
    p.globals = record(35, text("_f") + hex("00 00 02 00 00 05 00 10 00") + at + hex("00 00")) +
                global("_x", "20", 2, "01", "20", "00") + global("_s", "60", 3, "0A", "20", "00") + p.globals;
    return file(p);
}

inline std::string node(const std::string& hex_digits) { return record(101, hex(hex_digits)); }
inline std::string statement(const std::string& nodes) { return record(46, hex("00")) + nodes; }

// The line of the statement in the text of a file that holds nothing else in its function.
inline std::string statement_text(const std::string& nodes) {
    const std::string all = shown(function_file(statement(nodes)));
    const std::string mark = "  .locals\n  ";
    const size_t from = all.find(mark) + mark.size();
    return all.substr(from, all.find('\n', from) - from);
}

} // namespace text_test

#endif
