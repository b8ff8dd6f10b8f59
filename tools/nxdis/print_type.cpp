// Type records to text: one line a type where the usual attributes let it, else the fields one by one.
#include "printer.h"

#include <cstdio>

namespace nxtext {

void PRINTER::type_attributes(uint32_t size, uint32_t natural_size, uint32_t align, uint32_t natural_align) {
    if (size != natural_size) out += " size " + std::to_string(size);
    if (align != natural_align) out += " align " + std::to_string(align);
}

// ".record <typeref> <K> <fields> [name] [position]"
void PRINTER::type_generic(const TYPE_REC& r) {
    line();
    out += ".record " + std::to_string(r.ref) + " " + std::to_string(r.kind);
    for (uint32_t v : r.v) out += " " + std::to_string(v);
    std::string layout;
    if (type_layout(r.kind, doc.version, layout) && layout.find('n') != std::string::npos)
        out += " " + quote_string(r.name);
    position(r.pos);
    out += '\n';
    types.apply(r);
}

// A function whose parameter list follows at once, all of it as usual: "int(int, char*)".
bool PRINTER::function_sugar(size_t& i, size_t end) {
    const TYPE_REC& r = doc.types[i];
    if (r.v[3] != 0 || r.v[4] != 0 || r.v[1] > 1 || r.v[2] > 1) return false;
    size_t k = i + 1;
    if (k >= end || doc.types[k].kind != TK_LIST || doc.types[k].ref != r.ref || doc.types[k].v[0] != 0) return false;
    for (k++; k < end && doc.types[k].kind == TK_PARAM; k++) {
        const TYPE_REC& p = doc.types[k];
        if (p.ref != r.ref || p.v[1] != 0 || p.v[2] != 0 || !p.name.empty()) return false;
    }
    if (k >= end || doc.types[k].kind != TK_END_LIST || doc.types[k].ref != r.ref || doc.types[k].v[0] != 0)
        return false;
    if (types.defined(r.ref)) return false;
    TYPE_TABLE& table = types;
    std::vector<uint32_t> params;
    for (size_t p = i + 2; p < k; p++) params.push_back(doc.types[p].v[0]);
    // Only where the text leads back to this very type.
    if (table.find(TYPE_TABLE::key_function(r.v[0], params, r.v[1] != 0, r.v[2] != 0)) != 0) return false;
    if (r.v[2] == 0 && !params.empty()) return false;
    for (uint32_t p : params)
        if (!table.defined(p) || table.facts(p).kind == TK_VOID) return false;
    if (r.v[0] == 0 || params.size() > 200) return false;
    for (size_t p = i; p <= k; p++) table.apply(doc.types[p]);
    line();
    out += ".type " + std::to_string(r.ref) + " = " + table.text(r.ref) + "\n";
    i = k + 1;
    return true;
}

// The line of a type whose text, with a few attributes, says all of its record. Steps `i` on.
bool PRINTER::type_sugar(size_t& i, size_t end) {
    const TYPE_REC& r = doc.types[i];
    if (r.ref == 0 || types.defined(r.ref)) return false;
    const std::string head = ".type " + std::to_string(r.ref) + " = ";
    const auto flag = [](uint32_t v) { return v <= 1; };
    const auto begin = [&] {
        line();
        out += head;
    };
    const auto finish = [&] {
        position(r.pos);
        out += '\n';
        i++;
    };
    if (r.kind <= 9 || r.kind == TK_LLONG || r.kind == TK_ULLONG) {
        const bool sign = r.v[0] == 1 && r.kind == TK_CHAR;
        if ((r.v[0] != 0 && !sign) || r.v[3] != (r.kind == TK_BOOL ? 1 : 0) || r.v[4] != 0) return false;
        begin();
        out += sign ? "schar" : basic_type_word(r.kind);
        const uint32_t size = default_basic_size(r.kind);
        type_attributes(r.v[1], size, r.v[2], r.v[1]);
        types.apply(r);
        finish();
        return true;
    }
    switch (r.kind) {
    case TK_FLOAT:
    case TK_DOUBLE:
    case TK_LDOUBLE:
        begin();
        out += basic_type_word(r.kind);
        type_attributes(r.v[0], default_basic_size(r.kind), r.v[1], r.v[0]);
        types.apply(r);
        finish();
        return true;
    case TK_VOID:
        begin();
        out += "void";
        types.apply(r);
        finish();
        return true;
    case TK_FUNCTION: return function_sugar(i, end);
    case TK_POINTER:
    case TK_REFERENCE:
    case TK_QUALIFIED:
    case TK_ARRAY:
    case TK_COMPLEX: {
        const uint32_t part = r.kind == TK_COMPLEX ? r.v[2] : r.v[0];
        if (!types.defined(part)) return false;
        if (r.kind == TK_ARRAY && (r.v[4] != 0 || r.v[5] > 1 || r.v[6] != 0 || r.v[7] != 0)) return false;
        TYPE_TABLE& table = types;
        table.apply(r);
        const std::string text = table.text(r.ref);
        if (text[0] == '$' && text == "$" + std::to_string(r.ref)) { // another type has this structure already
            type_generic(r);
            i++;
            return true;
        }
        begin();
        out += text;
        const TYPE_FACTS& p = types.facts(part);
        if (r.kind == TK_QUALIFIED)
            type_attributes(r.v[2], p.size, r.v[3], p.align);
        else if (r.kind == TK_ARRAY)
            type_attributes(r.v[2], r.v[1] * p.size, r.v[3], p.align);
        else if (r.kind == TK_COMPLEX)
            type_attributes(r.v[0], 2 * p.size, r.v[1], p.align);
        else
            type_attributes(r.v[1], 32, r.v[2], 32);
        finish();
        return true;
    }
    case TK_CSU: {
        if (r.v[0] > 2 || !flag(r.v[1]) || !flag(r.v[2]) || !flag(r.v[5]) || !flag(r.v[6]) || !flag(r.v[7]))
            return false;
        if (types.find(TYPE_TABLE::key_named(TK_CSU, static_cast<uint8_t>(r.v[0]), r.name)) != 0) return false;
        begin();
        types.apply(r);
        out += types.text(r.ref) + " size " + std::to_string(r.v[3]) + " align " + std::to_string(r.v[4]);
        if (r.v[5] != 0) out += " members";
        if (r.v[1] == 0) out += " incomplete";
        if (r.v[2] != 0) out += " lowered";
        if (r.v[6] != 0) out += " vector";
        if (r.v[7] != 0) out += " cpp";
        finish();
        return true;
    }
    case TK_ENUM:
        if (!flag(r.v[3]) || !types.defined(r.v[2]) || types.find(TYPE_TABLE::key_named(TK_ENUM, 0, r.name)) != 0)
            return false;
        begin();
        out += "enum " + quote_name(r.name) + ": " + types.text(r.v[2]);
        type_attributes(r.v[0], types.facts(r.v[2]).size, r.v[1], types.facts(r.v[2]).align);
        if (r.v[3] != 0) out += " cpp";
        types.apply(r);
        finish();
        return true;
    case TK_TYPEDEF:
        if (!flag(r.v[3]) || !flag(r.v[4]) || !types.defined(r.v[0]) ||
            types.find(TYPE_TABLE::key_named(TK_TYPEDEF, 0, r.name)) != 0)
            return false;
        begin();
        out += "typedef " + quote_name(r.name) + ": " + types.text(r.v[0]);
        type_attributes(r.v[1], types.facts(r.v[0]).size, r.v[2], types.facts(r.v[0]).align);
        if (r.v[3] != 0) out += " cpp";
        if (r.v[4] != 0) out += " lowered";
        types.apply(r);
        finish();
        return true;
    default: return false;
    }
}

// An element of a list of members or enumerators, in its short form. `number` counts the list's elements from 1.
bool PRINTER::list_line(const TYPE_REC& r, uint32_t list, uint32_t number) {
    if (list == 1) {
        line();
        out += quote_name(r.name) + " = ";
        out += types.is_signed(types.facts(r.ref).part) ? std::to_string(static_cast<int32_t>(r.v[0]))
                                                        : std::to_string(r.v[0]);
        position(r.pos);
        out += '\n';
        return true;
    }
    // id, type, access, bit offset, attribute, bit size, is a bit-field, two flags
    if (r.v[2] != 0 || r.v[4] != 0 || r.v[6] > 1 || r.v[7] != 0 || r.v[8] != 0) return false;
    if (!types.defined(r.v[1])) return false;
    line();
    out += quote_name(r.name) + ": " + types.text(r.v[1]) + " at " + std::to_string(static_cast<int32_t>(r.v[3]));
    if (r.v[6] != 0)
        out += " bits " + std::to_string(r.v[5]);
    else if (r.v[5] != types.facts(r.v[1]).size)
        out += " width " + std::to_string(r.v[5]);
    if (r.v[0] != number) out += " id " + std::to_string(r.v[0]);
    position(r.pos);
    out += '\n';
    return true;
}

void PRINTER::type_records() {
    struct LIST_BLOCK {
        size_t end; // index of its trailer
        uint32_t ref, kind, count;
    };
    std::vector<LIST_BLOCK> open;
    const std::vector<TYPE_REC>& all = doc.types;
    for (size_t i = 0; i < all.size();) {
        const TYPE_REC& r = all[i];
        const size_t end = open.empty() ? all.size() : open.back().end;
        if (!open.empty() && i == end) {
            types.apply(r);
            open.pop_back();
            indent--;
            line();
            out += "}\n";
            i++;
            continue;
        }
        if (!open.empty() && r.ref == open.back().ref && r.kind == (open.back().kind == 1 ? TK_ETOR : TK_MEMBER)) {
            if (!list_line(r, open.back().kind, ++open.back().count))
                type_generic(r);
            else
                types.apply(r);
            i++;
            continue;
        }
        if (r.kind == TK_LIST && (r.v[0] == 1 || r.v[0] == 7)) {
            size_t k = i + 1;
            while (k < end && !(all[k].ref == r.ref && (all[k].kind == TK_LIST || all[k].kind == TK_END_LIST))) k++;
            if (k < end && all[k].kind == TK_END_LIST && all[k].v[0] == r.v[0]) {
                line();
                out += (r.v[0] == 1 ? ".enumerators " : ".members ") +
                       (types.defined(r.ref) ? types.text(r.ref) : "$" + std::to_string(r.ref)) + " {\n";
                indent++;
                types.apply(r);
                open.push_back({k, r.ref, r.v[0], 0});
                i++;
                continue;
            }
        }
        if (!type_sugar(i, end)) {
            type_generic(r);
            i++;
        }
    }
}

} // namespace nxtext
