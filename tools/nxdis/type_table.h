// What the type records say, by typeref: what an expression's type is made of, and which typeref a type's text stands
// for. Filled record by record in the order of the file, by the decoder, the printer and the parser alike, so that at
// any place of the file all of them know the same types.
#ifndef NXTEXT_TYPE_TABLE_H
#define NXTEXT_TYPE_TABLE_H

#include "document.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace nxtext {

struct MEMBER_INFO {
    std::string name;
    uint32_t id, type, bit_size;
    int32_t bit_offset;
    bool bitfield;
};

struct TYPE_FACTS {
    uint8_t kind = 255;           // K of its first record; 255: not defined
    uint32_t part = 0;            // pointee, element, result, qualified, aliased or underlying type
    uint32_t part2 = 0;           // pointer to member: the class
    uint32_t size = 0, align = 0; // bits
    uint32_t count = 0;           // array: elements
    uint32_t quals = 0;           // qualified
    uint8_t csu_kind = 0;         // struct 0, union 1, class 2
    bool expl_sign = false, vararg = false, proto = false, complete = true, vector = false;
    bool plain = true; // the text form of the type says all of it that matters to its identity
    bool open = false; // function: its parameter list has not closed
    std::string name;
    std::vector<uint32_t> params;
    std::vector<MEMBER_INFO> members;
};

struct TYPE_TABLE {
    void apply(const TYPE_REC&);

    bool defined(uint32_t t) const { return facts(t).kind != 255; }
    const TYPE_FACTS& facts(uint32_t t) const; // of an undefined one: kind 255
    uint32_t highest() const { return highest_ref; }

    uint32_t unqualified(uint32_t t) const; // without qualifiers and typedefs at the top
    uint32_t quals(uint32_t t) const;       // qualifier bits at the top
    bool is_signed(uint32_t t) const;       // through typedefs, qualifiers, and an enum's underlying type
    bool is_integral(uint32_t t) const;     // enums excluded
    bool is_kind(uint32_t t, uint8_t kind) const { return facts(unqualified(t)).kind == kind; }
    bool is_pointer(uint32_t t) const { return is_kind(t, TK_POINTER); }
    bool is_csu(uint32_t t) const { return is_kind(t, TK_CSU); }
    bool is_float(uint32_t t) const;
    bool is_scalar(uint32_t t) const;
    uint32_t pointee(uint32_t t) const;     // 0 if it is no pointer
    uint32_t element(uint32_t t) const;     // 0 if it is no array
    uint32_t function_of(uint32_t t) const; // the function type of a pointer to function or of a function; else 0
    const MEMBER_INFO* member(uint32_t csu, const std::string& name) const; // null if absent or there are several
    const MEMBER_INFO* member(uint32_t csu, uint32_t id) const;

    // The first type of a structure; 0 if there is none.
    uint32_t find(const std::string& key) const;
    uint32_t find_basic(uint8_t kind, bool expl_sign = false) const;
    uint32_t find_pointer(uint32_t to) const { return find(key_pointer(to)); }
    uint32_t find_qualified(uint32_t t, uint32_t bits) const; // bits 0: the type itself
    static std::string key_basic(uint8_t kind, bool expl_sign);
    static std::string key_pointer(uint32_t to);
    static std::string key_qualified(uint32_t t, uint32_t bits);
    static std::string key_array(uint32_t element, uint32_t count, bool complete);
    static std::string key_function(uint32_t result, const std::vector<uint32_t>& params, bool vararg, bool proto);
    static std::string key_named(uint8_t kind, uint8_t csu_kind, const std::string& name);

    // The text of a type as the parser reads it back: "int const*", "struct S", "$17". "none" for 0.
    std::string text(uint32_t t) const;

  private:
    std::vector<TYPE_FACTS> dense;                    // by typeref
    std::unordered_map<uint32_t, TYPE_FACTS> sparse;  // typerefs beyond the dense part
    std::unordered_map<std::string, uint32_t> by_key; // structure to the first type that has it
    uint32_t highest_ref = 0;
    TYPE_FACTS& at(uint32_t t);
    void enter(uint32_t t);
    std::string key(const TYPE_FACTS&) const; // empty if the text form cannot say it
    std::string text_capped(uint32_t t, int depth) const;
};

constexpr uint32_t function_alignment = 16; // bits; what a function's symbol has where the text says nothing

// Keywords of the basic types, by kind; null if the kind is none. "schar" is a char with an explicit sign.
const char* basic_type_word(uint8_t kind);
// Kind of a keyword; false if the word is none.
bool basic_type_kind(const std::string& word, uint8_t& kind, bool& expl_sign);
uint32_t default_basic_size(uint8_t kind); // bits

struct QUALIFIER_WORD {
    uint32_t bit;
    const char* word;
};
extern const QUALIFIER_WORD qualifier_words[8];

// A name as the text form shows it: bare, or in quotes where it is no identifier or means something else.
std::string quote_name(const std::string& name);
std::string quote_string(const std::string& bytes); // "..." with escapes
bool is_reserved_word(const std::string& word);
bool is_label_word(const std::string& word); // L and digits

} // namespace nxtext

#endif
