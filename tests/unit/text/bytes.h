// Icode files put together byte by byte, without the encoder under test.
#ifndef TEXT_BYTES_H
#define TEXT_BYTES_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace text_test {

inline std::string hex(const std::string& digits) { // blanks are skipped
    std::string bytes, pair;
    for (char c : digits) {
        if (c == ' ') continue;
        pair += c;
        if (pair.size() == 2) {
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
            pair.clear();
        }
    }
    return bytes;
}

inline std::string text(const std::string& s) { return s + '\0'; } // with its terminator

// A record below 128 bytes, whose size is then one byte.
inline std::string record(int id, const std::string& body) {
    std::string r(1, static_cast<char>(id));
    r += static_cast<char>(body.size());
    return r + body;
}

inline std::string word(uint32_t v) {
    std::string b;
    for (int i = 0; i < 4; i++) b += static_cast<char>(v >> (8 * i));
    return b;
}

// A whole file. Each part holds the records of its section, without the closing 255; an empty part is absent.
struct PARTS {
    std::string body, inits, options, types, files, globals;
    int version = -73;
    uint32_t cpu = 1000;
    std::string magic = "!<icode>\n", producer = "maker";
};

inline std::string file(const PARTS& p) {
    const std::string end = "\xFF";
    const auto magic = [&](const uint32_t offsets[5]) {
        std::string b = text(p.magic);
        b += static_cast<char>(p.version);
        b += static_cast<char>(p.version >> 8);
        b += static_cast<char>(p.cpu);
        b += static_cast<char>(p.cpu >> 8);
        for (int i = 0; i < 5; i++) b += word(offsets[i]);
        b += text(p.producer);
        if (p.version >= -83) b += word(0);
        return record(8, b);
    };
    uint32_t offsets[5] = {};
    std::string all = magic(offsets) + p.body + end;
    const auto section = [&](int slot, const std::string& records, bool always) {
        if (records.empty() && !always) return;
        offsets[slot] = static_cast<uint32_t>(all.size());
        all += records + end;
    };
    section(1, p.inits, false);
    section(0, p.options, false);
    section(2, p.types, false);
    section(3, p.files, false);
    section(4, p.globals, true);
    const std::string head = magic(offsets);
    all.replace(0, head.size(), head);
    return all;
}

// Type records of the ids that the tests use: 1 int, 2 unsigned int, 3 char, 4 char*, 5 int(void), 6 void, 7 long long,
// 8 int*, 9 double, 10 struct S { int a; int f:3; int b }, 11 int(void)*, 12 unsigned short
inline std::string usual_types() {
    return record(116, hex("01 06 00 20 20 00 00")) + record(116, hex("02 07 00 20 20 00 00")) +
           record(116, hex("03 01 00 10 10 00 00")) + record(116, hex("04 0F 03 20 20")) +
           record(116, hex("05 14 01 00 01 00 00")) + record(116, hex("05 FE 00")) + record(116, hex("05 FF 00")) +
           record(116, hex("06 31")) + record(116, hex("07 32 00 40 40 00 00")) + record(116, hex("08 0F 01 20 20")) +
           record(116, hex("09 0B 40 40")) + record(116, hex("0A 18 00") + text("S") + hex("01 00 60 20 01 00 00 00")) +
           record(116, hex("0A FE 07")) + record(116, hex("0A 1C 01") + text("a") + hex("01 00 00 00 20 00 00 00 00")) +
           record(116, hex("0A 1C 02") + text("f") + hex("01 00 20 00 03 01 00 00 00")) +
           record(116, hex("0A 1C 03") + text("b") + hex("01 00 C0 00 00 20 00 00 00 00")) + // offset 64
           record(116, hex("0A FF 07")) + record(116, hex("0B 0F 05 20 20")) + record(116, hex("0C 05 00 10 10 00 00"));
}

// A global: "_f" of type 5 stands at index 0, "_x" of type int at index 1, "_s" of the struct at index 2.
inline std::string global(const std::string& name, const std::string& size, int sclass, const std::string& type,
                          const std::string& align, const std::string& position) {
    std::string b = text(name) + hex(size) + hex("00");
    b += static_cast<char>(sclass);
    return record(35, b + hex("00 00") + hex(type) + hex("00") + hex(align) + hex("00") + hex(position) + hex("00 00"));
}

} // namespace text_test

#endif
