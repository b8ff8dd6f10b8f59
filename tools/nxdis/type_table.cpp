// See type_table.h.
#include "type_table.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace nxtext {

namespace {

constexpr uint32_t dense_limit = 1 << 16; // typerefs from here up are rare and live in a map
constexpr int text_depth = 24;            // a longer chain of derived types is cut with "$n"
constexpr int text_budget = 40;           // so is a text of more parts than this

struct BASIC {
    uint8_t kind;
    const char* word;
    uint32_t size;
};
constexpr BASIC basics[] = {
    {0, "bool", 16},   {1, "char", 16},    {2, "uchar", 16},    {3, "wchar", 16}, {4, "short", 16},  {5, "ushort", 16},
    {6, "int", 32},    {7, "uint", 32},    {8, "long", 32},     {9, "ulong", 32}, {50, "llong", 64}, {51, "ullong", 64},
    {10, "float", 32}, {11, "double", 64}, {12, "ldouble", 64}, {49, "void", 0},
};
const char* const csu_words[3] = {"struct", "union", "class"};

bool integral_kind(uint8_t k) { return k <= 9 || k == TK_LLONG || k == TK_ULLONG; }

} // namespace

const QUALIFIER_WORD qualifier_words[8] = {{1, "const"}, {2, "volatile"}, {4, "packed"},    {8, "near"},
                                           {16, "far"},  {32, "ioport"},  {64, "restrict"}, {128, "onchip"}};

const char* basic_type_word(uint8_t kind) {
    for (const BASIC& b : basics)
        if (b.kind == kind) return b.word;
    return nullptr;
}

bool basic_type_kind(const std::string& word, uint8_t& kind, bool& expl_sign) {
    expl_sign = word == "schar";
    if (expl_sign) {
        kind = TK_CHAR;
        return true;
    }
    for (const BASIC& b : basics)
        if (word == b.word) {
            kind = b.kind;
            return true;
        }
    return false;
}

uint32_t default_basic_size(uint8_t kind) {
    for (const BASIC& b : basics)
        if (b.kind == kind) return b.size;
    return 0;
}

// ------------------------------------------------------------------------------------------------------------ names

bool is_label_word(const std::string& word) {
    return word.size() > 1 && word.size() < 12 && word[0] == 'L' &&
           std::all_of(word.begin() + 1, word.end(), [](unsigned char c) { return isdigit(c) != 0; });
}

bool is_reserved_word(const std::string& word) {
    uint8_t kind = 0;
    bool sign = false;
    if (basic_type_kind(word, kind, sign)) return true;
    static const char* const words[] = {"struct", "union", "class",  "enum",   "typedef", "complex", "none",
                                        "if",     "goto",  "switch", "return", "local",   "parm",    "nothing"};
    return std::any_of(std::begin(words), std::end(words), [&](const char* w) { return word == w; });
}

static void append_escaped(std::string& to, const std::string& bytes, char quote) {
    static const char hex[] = "0123456789abcdef";
    for (unsigned char c : bytes) switch (c) {
        case '\n': to += "\\n"; break;
        case '\t': to += "\\t"; break;
        case '\r': to += "\\r"; break;
        case '\0': to += "\\0"; break;
        case '\\': to += "\\\\"; break;
        default:
            if (c == static_cast<unsigned char>(quote)) {
                to += '\\';
                to += quote;
            } else if (c >= 0x20 && c < 0x7F) {
                to += static_cast<char>(c);
            } else {
                to += "\\x";
                to += hex[c >> 4];
                to += hex[c & 15];
            }
        }
}

std::string quote_name(const std::string& name) {
    const auto word_char = [](unsigned char c) { return isalnum(c) != 0 || c == '_' || c == '$'; };
    const bool plain = !name.empty() && isdigit(static_cast<unsigned char>(name[0])) == 0 &&
                       std::all_of(name.begin(), name.end(), word_char) && !is_reserved_word(name) &&
                       !is_label_word(name) &&
                       !(name[0] == '$' && (name.size() == 1 || isdigit(static_cast<unsigned char>(name[1])) != 0));
    if (plain) return name;
    std::string text = "'";
    append_escaped(text, name, '\'');
    return text += '\'';
}

std::string quote_string(const std::string& bytes) {
    std::string text = "\"";
    append_escaped(text, bytes, '"');
    return text += '"';
}

// ------------------------------------------------------------------------------------------------------------- facts

TYPE_FACTS& TYPE_TABLE::at(uint32_t t) {
    highest_ref = std::max(highest_ref, t);
    if (t >= dense_limit) return sparse[t];
    if (t >= dense.size()) dense.resize(t + 1);
    return dense[t];
}

const TYPE_FACTS& TYPE_TABLE::facts(uint32_t t) const {
    static const TYPE_FACTS undefined;
    if (t == 0) return undefined;
    if (t < dense.size()) return dense[t];
    const auto found = sparse.find(t);
    return found == sparse.end() ? undefined : found->second;
}

void TYPE_TABLE::apply(const TYPE_REC& r) {
    if (r.ref == 0) return;
    const auto v = [&](size_t i) { return i < r.v.size() ? r.v[i] : 0; };
    TYPE_FACTS& f = at(r.ref);
    switch (r.kind) { // records that extend a type
    case TK_PARAM:
        if (f.kind == TK_FUNCTION && f.open) f.params.push_back(v(0));
        return;
    case TK_MEMBER:
        if (f.kind == TK_CSU) f.members.push_back({r.name, v(0), v(1), v(5), static_cast<int32_t>(v(3)), v(6) != 0});
        return;
    case TK_END_LIST:
        if (f.kind == TK_FUNCTION && v(0) == 0 && f.open) {
            f.open = false;
            if (!f.proto && !f.params.empty()) f.plain = false;
            enter(r.ref);
        }
        return;
    case TK_LIST:
    case TK_ETOR:
    case TK_BASE:
    case TK_ACCESS:
    case TK_FRIEND_FUNC:
    case TK_FRIEND_CLASS:
    case TK_NESTED:
    case TK_STATIC:
    case TK_METHOD: return;
    default: break;
    }
    f = TYPE_FACTS();
    f.kind = r.kind;
    f.name = r.name;
    switch (r.kind) {
    case TK_FLOAT:
    case TK_DOUBLE:
    case TK_LDOUBLE:
        f.size = v(0);
        f.align = v(1);
        break;
    case TK_FIXED:
        f.part = v(2);
        f.size = v(3);
        f.align = v(4);
        f.plain = false;
        break;
    case TK_TYPEDEF:
    case TK_POINTER:
    case TK_REFERENCE:
        f.part = v(0);
        f.size = v(1);
        f.align = v(2);
        break;
    case TK_QUALIFIED:
        f.part = v(0);
        f.quals = v(1);
        f.size = v(2);
        f.align = v(3);
        f.plain = f.quals != 0 && f.quals < 256;
        break;
    case TK_ARRAY:
        f.part = v(0);
        f.count = v(1);
        f.size = v(2);
        f.align = v(3);
        f.complete = v(5) != 0;
        f.vector = v(6) != 0;
        f.plain = !f.vector && (f.complete || f.count == 0);
        break;
    case TK_PTM:
        f.part = v(0);
        f.part2 = v(1);
        f.size = v(2);
        f.align = v(3);
        f.plain = false;
        break;
    case TK_FUNCTION:
        f.part = v(0);
        f.vararg = v(1) != 0;
        f.proto = v(2) != 0;
        f.open = true;
        return; // known by its structure once its parameters are
    case TK_ENUM:
        f.size = v(0);
        f.align = v(1);
        f.part = v(2);
        break;
    case TK_CSU:
    case TK_CSU_LONG:
        f.kind = TK_CSU;
        f.csu_kind = static_cast<uint8_t>(v(0));
        f.complete = v(1) != 0;
        f.size = v(3);
        f.align = v(4);
        f.plain = f.csu_kind <= 2;
        break;
    case TK_COMPLEX:
        f.size = v(0);
        f.align = v(1);
        f.part = v(2);
        break;
    case TK_VOID: break;
    default: // integers
        f.expl_sign = v(0) != 0;
        f.size = v(1);
        f.align = v(2);
        f.plain = !f.expl_sign || f.kind == TK_CHAR;
        break;
    }
    enter(r.ref);
}

void TYPE_TABLE::enter(uint32_t t) {
    const std::string k = key(facts(t));
    if (!k.empty()) by_key.emplace(k, t);
}

// ------------------------------------------------------------------------------------------------------------- keys

std::string TYPE_TABLE::key_basic(uint8_t kind, bool expl_sign) {
    return (expl_sign ? "s" : "b") + std::to_string(kind);
}
std::string TYPE_TABLE::key_pointer(uint32_t to) { return "p" + std::to_string(to); }
std::string TYPE_TABLE::key_qualified(uint32_t t, uint32_t bits) {
    return "q" + std::to_string(t) + "," + std::to_string(bits);
}
std::string TYPE_TABLE::key_array(uint32_t element, uint32_t count, bool complete) {
    return "a" + std::to_string(element) + "," + (complete ? std::to_string(count) : "");
}
std::string TYPE_TABLE::key_function(uint32_t result, const std::vector<uint32_t>& params, bool vararg, bool proto) {
    std::string k = "f" + std::to_string(result) + (vararg ? "v" : "") + (proto ? "p" : "");
    for (uint32_t p : params) k += "," + std::to_string(p);
    return k;
}
std::string TYPE_TABLE::key_named(uint8_t kind, uint8_t csu_kind, const std::string& name) {
    return "n" + std::to_string(kind) + "," + std::to_string(csu_kind) + "," + name;
}

std::string TYPE_TABLE::key(const TYPE_FACTS& f) const {
    if (!f.plain) return {};
    switch (f.kind) {
    case TK_POINTER: return key_pointer(f.part);
    case TK_REFERENCE: return "r" + std::to_string(f.part);
    case TK_COMPLEX: return "c" + std::to_string(f.part);
    case TK_QUALIFIED: return key_qualified(f.part, f.quals);
    case TK_ARRAY: return key_array(f.part, f.count, f.complete);
    case TK_FUNCTION: return f.open ? std::string() : key_function(f.part, f.params, f.vararg, f.proto);
    case TK_ENUM:
    case TK_TYPEDEF:
    case TK_CSU: return key_named(f.kind, f.csu_kind, f.name);
    case 255: return {};
    default: return key_basic(f.kind, f.expl_sign);
    }
}

uint32_t TYPE_TABLE::find(const std::string& key) const {
    const auto found = by_key.find(key);
    return found == by_key.end() ? 0 : found->second;
}
uint32_t TYPE_TABLE::find_basic(uint8_t kind, bool expl_sign) const { return find(key_basic(kind, expl_sign)); }
uint32_t TYPE_TABLE::find_qualified(uint32_t t, uint32_t bits) const {
    return bits == 0 ? t : find(key_qualified(t, bits));
}

// ------------------------------------------------------------------------------------------------------------ queries

// Typedefs and qualifiers at the top; a cycle of a broken file ends after as many steps as there can be types in a row.
uint32_t TYPE_TABLE::unqualified(uint32_t t) const {
    for (int steps = 0; steps < 1000; steps++) {
        const TYPE_FACTS& f = facts(t);
        if (f.kind != TK_QUALIFIED && f.kind != TK_TYPEDEF) return t;
        t = f.part;
    }
    return 0;
}

uint32_t TYPE_TABLE::quals(uint32_t t) const {
    uint32_t bits = 0;
    for (int steps = 0; steps < 1000; steps++) {
        const TYPE_FACTS& f = facts(t);
        if (f.kind != TK_QUALIFIED && f.kind != TK_TYPEDEF) break;
        if (f.kind == TK_QUALIFIED) bits |= f.quals;
        t = f.part;
    }
    return bits;
}

bool TYPE_TABLE::is_signed(uint32_t t) const {
    for (int steps = 0; steps < 1000; steps++) {
        t = unqualified(t);
        const TYPE_FACTS& f = facts(t);
        if (f.kind != TK_ENUM) return f.kind == 1 || f.kind == 4 || f.kind == 6 || f.kind == 8 || f.kind == TK_LLONG;
        t = f.part;
    }
    return false;
}

bool TYPE_TABLE::is_integral(uint32_t t) const { return integral_kind(facts(unqualified(t)).kind); }

bool TYPE_TABLE::is_float(uint32_t t) const {
    const uint8_t k = facts(unqualified(t)).kind;
    return k == TK_FLOAT || k == TK_DOUBLE || k == TK_LDOUBLE;
}

bool TYPE_TABLE::is_scalar(uint32_t t) const {
    const uint8_t k = facts(unqualified(t)).kind;
    return integral_kind(k) || is_float(t) || k == TK_POINTER || k == TK_REFERENCE || k == TK_ENUM || k == TK_FIXED;
}

uint32_t TYPE_TABLE::pointee(uint32_t t) const {
    const TYPE_FACTS& f = facts(unqualified(t));
    return f.kind == TK_POINTER || f.kind == TK_REFERENCE ? f.part : 0;
}

uint32_t TYPE_TABLE::element(uint32_t t) const {
    const TYPE_FACTS& f = facts(unqualified(t));
    return f.kind == TK_ARRAY && !f.vector ? f.part : 0;
}

uint32_t TYPE_TABLE::function_of(uint32_t t) const {
    t = unqualified(t);
    if (facts(t).kind == TK_POINTER) t = unqualified(facts(t).part);
    return facts(t).kind == TK_FUNCTION ? t : 0;
}

const MEMBER_INFO* TYPE_TABLE::member(uint32_t csu, const std::string& name) const {
    const MEMBER_INFO* found = nullptr;
    for (const MEMBER_INFO& m : facts(csu).members)
        if (m.name == name) {
            if (found != nullptr) return nullptr;
            found = &m;
        }
    return found;
}

const MEMBER_INFO* TYPE_TABLE::member(uint32_t csu, uint32_t id) const {
    const auto& all = facts(csu).members;
    if (id >= 1 && id <= all.size() && all[id - 1].id == id) return &all[id - 1]; // the usual numbering
    for (const MEMBER_INFO& m : all)
        if (m.id == id) return &m;
    return nullptr;
}

// ------------------------------------------------------------------------------------------------------------- text

std::string TYPE_TABLE::text(uint32_t t) const { return t == 0 ? "none" : text_capped(t, text_budget); }

// `budget` shrinks with the depth and with the number of parameters, so that no chain of types makes a long text.
std::string TYPE_TABLE::text_capped(uint32_t t, int budget) const {
    const TYPE_FACTS& f = facts(t);
    const std::string k = key(f);
    if (budget <= text_budget - text_depth || k.empty() || find(k) != t) return "$" + std::to_string(t);
    switch (f.kind) {
    case TK_POINTER: return text_capped(f.part, budget - 1) + "*";
    case TK_REFERENCE: return text_capped(f.part, budget - 1) + "&";
    case TK_COMPLEX: return "complex(" + text_capped(f.part, budget - 1) + ")";
    case TK_QUALIFIED: {
        std::string s = text_capped(f.part, budget - 1);
        for (const QUALIFIER_WORD& q : qualifier_words)
            if ((f.quals & q.bit) != 0) s += std::string(" ") + q.word;
        return s;
    }
    case TK_ARRAY: {
        std::string dimensions;
        uint32_t element = t;
        for (;;) { // "[2][3]": two of three, as in C
            const TYPE_FACTS& a = facts(element);
            const std::string ak = key(a);
            if (a.kind != TK_ARRAY || ak.empty() || find(ak) != element || dimensions.size() > 100) break;
            dimensions += a.complete ? "[" + std::to_string(a.count) + "]" : "[]";
            element = a.part;
        }
        return text_capped(element, budget - 1) + dimensions;
    }
    case TK_FUNCTION: {
        const bool sayable = f.params.size() <= 200 && std::none_of(f.params.begin(), f.params.end(), [&](uint32_t p) {
                                 return p == 0 || facts(p).kind == TK_VOID;
                             });
        if (!sayable) return "$" + std::to_string(t);
        const int share = budget - 1 - static_cast<int>(f.params.size()) * 2;
        std::string s = text_capped(f.part, share) + "(";
        for (size_t i = 0; i < f.params.size(); i++) s += (i == 0 ? "" : ", ") + text_capped(f.params[i], share);
        if (f.params.empty() && f.proto && !f.vararg) s += "void";
        if (f.vararg) s += f.params.empty() ? (f.proto ? "void, ..." : "...") : ", ...";
        return s + ")";
    }
    case TK_ENUM: return "enum " + quote_name(f.name);
    case TK_TYPEDEF: return "typedef " + quote_name(f.name);
    case TK_CSU: return std::string(csu_words[f.csu_kind]) + " " + quote_name(f.name);
    case TK_CHAR: return f.expl_sign ? "schar" : "char";
    default: {
        const char* word = basic_type_word(f.kind);
        return word != nullptr ? word : "$" + std::to_string(t);
    }
    }
}

} // namespace nxtext
