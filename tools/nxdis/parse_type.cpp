// Types in the text: structural names, explicit definitions, structs and enums with their layout computed.
#include "parser.h"

#include <algorithm>

namespace nxtext {

namespace {
constexpr int max_type_depth = 200;            // parameter lists within parameter lists
constexpr int64_t max_struct_bits = 1LL << 31; // sizes are 32-bit fields

TYPE_REC record(uint8_t kind, std::vector<uint32_t> v, std::string name = {}) {
    TYPE_REC r;
    r.kind = kind;
    r.v = std::move(v);
    r.name = std::move(name);
    return r;
}

int csu_kind_of(const std::string& word) {
    return word == "struct" ? 0 : word == "union" ? 1 : word == "class" ? 2 : -1;
}
} // namespace

// The data model: what every file of the front end begins with.
void PARSER::prelude() {
    if (model_chosen) return;
    model_chosen = true;
    for (uint8_t kind : {0, 1, 2, 4, 5, 6, 7, 8, 9, 50, 51, 10, 11, 12, 49}) {
        PENDING p;
        const std::string word = basic_type_word(kind);
        const uint32_t size = default_basic_size(kind);
        if (kind == TK_VOID)
            p.rec = record(kind, {});
        else if (kind >= 10 && kind <= 12)
            p.rec = record(kind, {size, size});
        else
            p.rec = record(kind, {0, size, size, kind == TK_BOOL ? 1U : 0U, 0});
        p.key = TYPE_TABLE::key_basic(kind, false);
        resolve(std::move(p));
    }
    pointer_to(table.find_basic(TK_VOID));
}

uint32_t PARSER::pointer_to(uint32_t t) {
    PENDING p;
    p.key = TYPE_TABLE::key_pointer(t);
    p.rec = record(TK_POINTER, {t, 32, 32});
    return resolve(std::move(p));
}

uint32_t PARSER::qualified(uint32_t t, uint32_t bits) {
    if (bits == 0) return t;
    PENDING p;
    p.key = TYPE_TABLE::key_qualified(t, bits);
    p.rec = record(TK_QUALIFIED, {t, bits, table.facts(t).size, table.facts(t).align});
    return resolve(std::move(p));
}

void PARSER::append(TYPE_REC r) {
    table.apply(r);
    doc.types.push_back(std::move(r));
}

// Writes the records of a pending type under the typeref.
void PARSER::append_pending(PENDING& p, uint32_t ref) {
    p.rec.ref = ref;
    const bool function = p.rec.kind == TK_FUNCTION;
    append(std::move(p.rec));
    if (!function) return;
    const auto part = [&](uint8_t kind, std::vector<uint32_t> v) {
        TYPE_REC r = record(kind, std::move(v));
        r.ref = ref;
        append(std::move(r));
    };
    part(TK_LIST, {0});
    for (uint32_t t : p.params) part(TK_PARAM, {t, 0, 0});
    part(TK_END_LIST, {0});
}

uint32_t PARSER::resolve(PENDING&& p) {
    if (p.ref != 0 || p.key.empty()) return p.ref;
    const uint32_t found = table.find(p.key);
    if (found != 0) return found;
    const uint32_t ref = table.highest() + 1;
    append_pending(p, ref);
    return ref;
}

bool PARSER::at_type() {
    const TOKEN& t = lex.peek();
    if (t.kind == TOKEN::TYPEREF) return true;
    if (t.kind != TOKEN::WORD) return false;
    uint8_t kind = 0;
    bool sign = false;
    return basic_type_kind(t.text, kind, sign) || csu_kind_of(t.text) >= 0 || t.text == "enum" || t.text == "typedef" ||
           (t.text == "complex" && at_punct("(", 1));
}

PARSER::PENDING PARSER::base_type(bool defining) {
    const TOKEN t = lex.next();
    PENDING p;
    if (t.kind == TOKEN::TYPEREF) {
        if (!table.defined(t.value)) fail(t, "type $" + std::to_string(t.value) + " is not defined");
        p.ref = t.value;
        return p;
    }
    if (t.kind != TOKEN::WORD) fail(t, "a type is expected");
    uint8_t kind = 0;
    bool sign = false;
    if (basic_type_kind(t.text, kind, sign)) {
        const uint32_t size = default_basic_size(kind);
        p.key = TYPE_TABLE::key_basic(kind, sign);
        if (kind == TK_VOID)
            p.rec = record(kind, {});
        else if (kind >= 10 && kind <= 12)
            p.rec = record(kind, {size, size});
        else
            p.rec = record(kind, {sign ? 1U : 0U, size, size, kind == TK_BOOL ? 1U : 0U, 0});
        return p;
    }
    if (t.text == "complex") {
        need_punct("(");
        const uint32_t part = type();
        need_punct(")");
        p.key = "c" + std::to_string(part);
        p.rec = record(TK_COMPLEX, {2 * table.facts(part).size, table.facts(part).align, part});
        return p;
    }
    const int csu = csu_kind_of(t.text);
    if (csu < 0 && t.text != "enum" && t.text != "typedef") fail(t, "'" + t.text + "' is no type");
    const std::string tag = name_word();
    kind = csu >= 0 ? TK_CSU : t.text == "enum" ? TK_ENUM : TK_TYPEDEF;
    p.key = TYPE_TABLE::key_named(kind, static_cast<uint8_t>(std::max(csu, 0)), tag);
    p.ref = table.find(p.key);
    const bool derived = at_punct("*") || at_punct("&") || at_punct("[") || at_punct("(") ||
                         std::any_of(std::begin(qualifier_words), std::end(qualifier_words),
                                     [&](const QUALIFIER_WORD& q) { return at_word(q.word); });
    if (defining && p.ref == 0 && !derived) {
        if (csu >= 0)
            p.rec = record(kind, {static_cast<uint32_t>(csu), 1, 0, 0, 0, 0, 0, 0}, tag);
        else if (kind == TK_ENUM)
            p.rec = record(kind, {0, 0, 0, 0}, tag);
        else
            p.rec = record(kind, {0, 0, 0, 0, 0}, tag);
        return p;
    }
    if (p.ref == 0) fail(t, t.text + " " + tag + " is not defined");
    return p;
}

// At the opening parenthesis of a parameter list.
PARSER::PENDING PARSER::function_type(uint32_t result) {
    need_punct("(");
    PENDING p;
    bool vararg = false, proto = true;
    if (take_punct(")")) {
        proto = false;
    } else if (at_word("void") && (at_punct(")", 1) || at_punct(",", 1))) {
        lex.next();
        if (take_punct(",")) {
            need_punct("...");
            vararg = true;
        }
        need_punct(")");
    } else {
        for (;;) {
            if (take_punct("...")) {
                vararg = true;
                proto = !p.params.empty();
                break;
            }
            p.params.push_back(type());
            if (!take_punct(",")) break;
        }
        need_punct(")");
    }
    p.key = TYPE_TABLE::key_function(result, p.params, vararg, proto);
    p.rec = record(TK_FUNCTION, {result, vararg ? 1U : 0U, proto ? 1U : 0U, 0, 0});
    return p;
}

// Bounds that stand together read as in C: the first is the outermost.
PARSER::PENDING PARSER::array_type(PENDING element) {
    struct BOUND {
        uint32_t count;
        bool complete;
    };
    std::vector<BOUND> bounds;
    while (take_punct("[")) {
        BOUND b{0, false};
        if (!at_punct("]")) b = {number(), true};
        need_punct("]");
        bounds.push_back(b);
    }
    PENDING p = std::move(element);
    for (auto b = bounds.rbegin(); b != bounds.rend(); ++b) {
        const uint32_t of = resolve(std::move(p));
        p = PENDING();
        p.key = TYPE_TABLE::key_array(of, b->count, b->complete);
        p.rec = record(TK_ARRAY, {of, b->count, b->count * table.facts(of).size, table.facts(of).align, 0,
                                  b->complete ? 1U : 0U, 0, 0});
    }
    return p;
}

PARSER::PENDING PARSER::pending_type(bool defining) {
    if (++type_depth > max_type_depth) fail(lex.peek(), "the type nests too deep");
    PENDING p = base_type(defining);
    for (;;) {
        if (at_punct("*") || at_punct("&")) {
            const bool pointer = lex.next().text == "*";
            const uint32_t to = resolve(std::move(p));
            p = PENDING();
            p.key = pointer ? TYPE_TABLE::key_pointer(to) : "r" + std::to_string(to);
            p.rec = record(pointer ? TK_POINTER : TK_REFERENCE, {to, 32, 32});
        } else if (at_punct("[")) {
            p = array_type(std::move(p));
        } else if (at_punct("(")) {
            const uint32_t result = resolve(std::move(p));
            p = function_type(result);
        } else {
            uint32_t bits = 0;
            for (bool more = true; more;) {
                more = false;
                for (const QUALIFIER_WORD& q : qualifier_words)
                    if (at_word(q.word)) {
                        lex.next();
                        bits |= q.bit;
                        more = true;
                    }
            }
            if (bits == 0) break;
            const uint32_t of = resolve(std::move(p));
            p = PENDING();
            p.key = TYPE_TABLE::key_qualified(of, bits);
            p.rec = record(TK_QUALIFIED, {of, bits, table.facts(of).size, table.facts(of).align});
        }
    }
    type_depth--;
    return p;
}

// ------------------------------------------------------------------------------------------- explicit definitions

// Attributes behind the text of a type that is being defined.
void PARSER::type_attributes(PENDING& p) {
    TYPE_REC& r = p.rec;
    size_t size_field = 1, align_field = 2;
    switch (r.kind) {
    case TK_FLOAT:
    case TK_DOUBLE:
    case TK_LDOUBLE:
    case TK_COMPLEX: size_field = 0, align_field = 1; break;
    case TK_QUALIFIED:
    case TK_ARRAY: size_field = 2, align_field = 3; break;
    case TK_CSU: size_field = 3, align_field = 4; break;
    default: break;
    }
    if (r.kind == TK_ENUM || r.kind == TK_TYPEDEF) { // ": underlying type"
        need_punct(":");
        const uint32_t part = type();
        const TYPE_FACTS& f = table.facts(part);
        if (r.kind == TK_ENUM)
            r.v = {f.size, f.align, part, 0};
        else
            r.v = {part, f.size, f.align, 0, 0};
        if (r.kind == TK_ENUM) size_field = 0, align_field = 1;
    }
    const bool integer = r.kind <= 9 || r.kind == TK_LLONG || r.kind == TK_ULLONG;
    const bool sized = r.kind != TK_FUNCTION && r.kind != TK_VOID;
    for (;;) {
        const TOKEN t = lex.peek();
        if (t.kind != TOKEN::WORD) return;
        lex.next();
        if (t.text == "size" && sized) {
            r.v[size_field] = number();
            if (integer || size_field == 0) r.v[align_field] = r.v[size_field];
            if (r.kind == TK_COMPLEX || r.kind == TK_ENUM) r.v[align_field] = table.facts(r.v[2]).align;
        } else if (t.text == "align" && sized) {
            r.v[align_field] = number();
        } else if (t.text == "members" && r.kind == TK_CSU) {
            r.v[5] = 1;
        } else if (t.text == "incomplete" && r.kind == TK_CSU) {
            r.v[1] = 0;
        } else if (t.text == "lowered" && (r.kind == TK_CSU || r.kind == TK_TYPEDEF)) {
            r.v[r.kind == TK_CSU ? 2 : 4] = 1;
        } else if (t.text == "vector" && r.kind == TK_CSU) {
            r.v[6] = 1;
        } else if (t.text == "cpp" && (r.kind == TK_CSU || r.kind == TK_TYPEDEF || r.kind == TK_ENUM)) {
            r.v[r.kind == TK_CSU ? 7 : 3] = 1;
        } else {
            fail(t, "'" + t.text + "' is no attribute of this type");
        }
    }
}

// ".type <typeref> = <type> <attributes>"
void PARSER::type_line() {
    const TOKEN where = lex.peek();
    const uint32_t ref = number();
    if (ref == 0 || table.defined(ref)) fail(where, "type " + std::to_string(ref) + " is defined already");
    need_punct("=");
    const TOKEN start = lex.peek();
    PENDING p = pending_type(true);
    if (p.key.empty()) fail(start, "a type of its own is expected, not another name of one");
    if (table.find(p.key) != 0) fail(start, "this type is defined already");
    type_attributes(p);
    p.rec.pos = position();
    append_pending(p, ref);
}

// ".record <typeref> <kind> <fields> [name] [position]"
void PARSER::record_line() {
    TYPE_REC r;
    r.ref = number();
    const TOKEN where = lex.peek();
    const uint32_t kind = number();
    std::string layout;
    if (kind > 255 || !type_layout(static_cast<int>(kind), doc.version, layout))
        fail(where, "type record kind " + std::to_string(kind) + " is not known");
    r.kind = static_cast<uint8_t>(kind);
    const size_t count = type_fields(r.kind);
    for (size_t i = 0; i < count; i++) r.v.push_back(number());
    if (layout.find('n') != std::string::npos) r.name = string();
    if (layout.find('p') != std::string::npos) r.pos = position();
    append(std::move(r));
}

// ".members <type> {" and ".enumerators <type> {": the list's records, with other types defined in between.
void PARSER::list_block(uint8_t kind) {
    const TOKEN where = lex.peek();
    const uint32_t ref = type();
    if (kind == 7 ? table.facts(ref).kind != TK_CSU : table.facts(ref).kind != TK_ENUM)
        fail(where, kind == 7 ? "only a struct, union or class has members" : "only an enum has enumerators");
    need_punct("{");
    TYPE_REC list = record(TK_LIST, {kind});
    list.ref = ref;
    append(list);
    uint32_t count = 0;
    for (;;) {
        skip_newlines();
        if (take_punct("}")) break;
        const TOKEN t = lex.peek();
        if (t.kind == TOKEN::END) fail(where, "the list has no end");
        if (t.kind == TOKEN::DIRECTIVE) {
            lex.next();
            if (++type_depth > max_type_depth) fail(t, "the lists nest too deep");
            if (t.text == ".record" || t.text == ".type" || t.text == ".members" || t.text == ".enumerators")
                type_directive(t.text);
            else
                fail(t, "only types can be defined here");
            type_depth--;
            if (t.text == ".record" && doc.types.back().ref == ref && doc.types.back().kind == TK_MEMBER) count++;
            end_of_line();
            continue;
        }
        TYPE_REC r;
        r.ref = ref;
        r.name = name_word();
        if (kind == 1) {
            need_punct("=");
            r.kind = TK_ETOR;
            r.v = {static_cast<uint32_t>(signed_number(INT32_MIN, UINT32_MAX))};
        } else {
            need_punct(":");
            const uint32_t member = type();
            r.kind = TK_MEMBER;
            r.v = {++count, member, 0, 0, 0, table.facts(member).size, 0, 0, 0};
            for (;;) {
                if (take_word("at"))
                    r.v[3] = static_cast<uint32_t>(signed_number(INT32_MIN, INT32_MAX));
                else if (take_word("bits"))
                    r.v[5] = number(), r.v[6] = 1;
                else if (take_word("width"))
                    r.v[5] = number();
                else if (take_word("id"))
                    r.v[0] = number();
                else
                    break;
            }
        }
        r.pos = position();
        append(std::move(r));
        if (!take_punct(",")) {
            if (!at_punct("}")) end_of_line();
        }
    }
    TYPE_REC end = record(TK_END_LIST, {kind});
    end.ref = ref;
    append(end);
}

bool PARSER::type_directive(const std::string& word) {
    if (word == ".type")
        type_line();
    else if (word == ".record")
        record_line();
    else if (word == ".members")
        list_block(7);
    else if (word == ".enumerators")
        list_block(1);
    else
        return false;
    return true;
}

// -------------------------------------------------------------------------------------- structs and enums in short

// Behind the "{" up to the "}": members by name and type, places still open.
std::vector<PARSER::MEMBER_TEXT> PARSER::member_lines() {
    std::vector<MEMBER_TEXT> members;
    for (;;) {
        skip_newlines();
        if (take_punct("}")) return members;
        const TOKEN start = lex.peek();
        MEMBER_TEXT m{name_word(), 0, 0, false, false, 0, {}};
        need_punct(":");
        m.type = type();
        const TYPE_FACTS& f = table.facts(m.type);
        if (f.kind == TK_CSU && !f.complete) fail(start, "the member's type is not complete");
        m.bits = f.size;
        for (;;) {
            if (take_word("bits")) {
                m.bits = number();
                m.bitfield = true;
                if (m.bits == 0 || m.bits > f.size) fail(start, "the width of the bit-field is out of range");
            } else if (take_word("at")) {
                m.at = signed_number(0, INT32_MAX);
                m.placed = true;
            } else {
                break;
            }
        }
        m.pos = position();
        members.push_back(std::move(m));
        if (!take_punct(",") && !at_punct("}") && lex.peek().kind != TOKEN::NEWLINE)
            expected("',' or the end of the line");
    }
}

// "struct S { a: int, f: uint bits 3 }", or "struct S" alone, which only declares it.
void PARSER::struct_definition() {
    const TOKEN word = lex.next();
    const uint32_t csu = static_cast<uint32_t>(csu_kind_of(word.text));
    const std::string tag = name_word();
    const std::string key = TYPE_TABLE::key_named(TK_CSU, static_cast<uint8_t>(csu), tag);
    uint32_t ref = table.find(key);
    const auto declared = forward.find(key);
    if (ref != 0 && (declared == forward.end() || !at_punct("{")))
        fail(word, word.text + " " + tag + " is defined already");
    if (ref == 0) {
        PENDING p;
        p.key = key;
        p.rec = record(TK_CSU, {csu, 0, 0, 0, 0, 0, 0, 0}, tag);
        ref = resolve(std::move(p));
        forward[key] = doc.types.size() - 1;
    }
    if (!take_punct("{")) return;
    const size_t header = forward[key];
    std::vector<MEMBER_TEXT> members = member_lines();

    int64_t end = 0, size = 0, align = 16;
    for (MEMBER_TEXT& m : members) {
        const TYPE_FACTS& f = table.facts(m.type);
        const int64_t unit = std::max<int64_t>(m.bitfield ? f.size : f.align, 1);
        int64_t at = csu == 1 ? 0 : end;
        if (!m.bitfield || at / unit != (at + m.bits - 1) / unit) at = (at + unit - 1) / unit * unit;
        if (m.placed) at = m.at;
        m.at = at;
        end = at + m.bits;
        size = std::max(size, end);
        align = std::max<int64_t>(align, f.align);
        if (size > max_struct_bits) fail(word, "the struct is too large");
    }
    size = (size + align - 1) / align * align;
    TYPE_REC& r = doc.types[header];
    r.v = {csu, 1, 0, static_cast<uint32_t>(size), static_cast<uint32_t>(align), members.empty() ? 0U : 1U, 0, 0};
    table.apply(r);
    forward.erase(key);
    if (members.empty()) return;
    TYPE_REC list = record(TK_LIST, {7});
    list.ref = ref;
    append(list);
    uint32_t id = 0;
    for (const MEMBER_TEXT& m : members) {
        TYPE_REC one = record(
            TK_MEMBER, {++id, m.type, 0, static_cast<uint32_t>(m.at), 0, m.bits, m.bitfield ? 1U : 0U, 0, 0}, m.name);
        one.ref = ref;
        one.pos = m.pos;
        append(std::move(one));
    }
    list.kind = TK_END_LIST;
    append(std::move(list));
}

// "enum E { A, B = 5 }", of int.
void PARSER::enum_definition() {
    lex.next();
    const TOKEN where = lex.peek();
    const std::string tag = name_word();
    PENDING p;
    p.key = TYPE_TABLE::key_named(TK_ENUM, 0, tag);
    if (table.find(p.key) != 0) fail(where, "enum " + tag + " is defined already");
    const uint32_t underlying = take_punct(":") ? type() : table.find_basic(TK_INT);
    const TYPE_FACTS& f = table.facts(underlying);
    p.rec = record(TK_ENUM, {f.size, f.align, underlying, 0}, tag);
    const uint32_t ref = resolve(std::move(p));
    need_punct("{");
    TYPE_REC list = record(TK_LIST, {1});
    list.ref = ref;
    append(list);
    int64_t value = 0;
    for (;;) {
        skip_newlines();
        if (take_punct("}")) break;
        TYPE_REC one;
        one.ref = ref;
        one.kind = TK_ETOR;
        one.name = name_word();
        if (take_punct("=")) value = signed_number(INT32_MIN, UINT32_MAX);
        one.v = {static_cast<uint32_t>(value++)};
        one.pos = position();
        append(std::move(one));
        if (!take_punct(",") && !at_punct("}") && lex.peek().kind != TOKEN::NEWLINE)
            expected("',' or the end of the line");
    }
    list.kind = TK_END_LIST;
    append(std::move(list));
}

} // namespace nxtext
