// Symbols, their pragmas and their initialisers in the text.
#include "parser.h"

#include <algorithm>

namespace nxtext {

// Behind ".pragma" or "pragma(": the kind, by name or number, and the strings.
PRAGMA_REC PARSER::pragma_words() {
    static const std::map<std::string, uint32_t> kinds = {
#define PRAGMA_KIND(no, name, text) {text, no},
#include "ir/pragmas.def"
    };
    PRAGMA_REC p;
    const TOKEN t = lex.peek();
    if (t.kind == TOKEN::WORD || t.kind == TOKEN::QUOTED) {
        lex.next();
        const auto found = kinds.find(t.text);
        if (found == kinds.end()) fail(t, "'" + t.text + "' is no kind of pragma");
        p.kind = found->second;
    } else {
        p.kind = number();
    }
    while (lex.peek().kind == TOKEN::STRING) p.strings.push_back(string());
    return p;
}

void PARSER::symbol_attributes(SYMBOL_REC& s, bool& size_given, bool& align_given) {
    for (;;) {
        const TOKEN t = lex.peek();
        if (t.kind != TOKEN::WORD) return;
        lex.next();
        if (t.text == "class") {
            s.sclass = static_cast<uint8_t>(signed_number(0, 255));
        } else if (t.text == "flags") {
            s.scqual = static_cast<uint16_t>(signed_number(0, 65535));
        } else if (t.text == "size") {
            s.size = number();
            size_given = true;
        } else if (t.text == "offset") {
            s.offset = number();
        } else if (t.text == "align") {
            s.aln = number();
            align_given = true;
        } else if (t.text == "type2") {
            s.type2 = type();
        } else if (t.text == "at") {
            s.position = number();
            s.position_here = false;
        } else if (t.text == "options") {
            s.option_set = number();
        } else if (t.text == "pragma") {
            need_punct("(");
            s.pragmas.push_back(pragma_words());
            need_punct(")");
            if (s.pragmas.size() > 255) fail(t, "a symbol has 255 pragmas at most");
        } else {
            fail(t, "'" + t.text + "' is no attribute of a symbol");
        }
    }
}

// "name: type attributes position". What is left out follows from the type.
SYMBOL_REC PARSER::symbol(uint8_t sclass, bool parameter) {
    SYMBOL_REC s;
    s.name = name_word();
    need_punct(":");
    if (!take_word("none")) s.type = type();
    s.sclass = parameter && table.is_csu(s.type) ? 9 : sclass;
    bool size_given = false, align_given = false;
    symbol_attributes(s, size_given, align_given);
    const TYPE_FACTS& f = table.facts(s.type);
    if (!size_given) s.size = f.size;
    if (!align_given) s.aln = f.kind == TK_FUNCTION ? function_alignment : f.align;
    s.pos = position();
    return s;
}

void PARSER::global_line() {
    const TOKEN word = lex.next();
    SYMBOL_REC s = symbol(word.text == "static" ? 3 : word.text == "extern" ? 5 : 2, false);
    const uint32_t type = s.type;
    doc.globals.push_back(std::move(s));
    scope.global_added();
    if (!take_punct("=")) return;
    ITEM init;
    init.id = REC_INIT;
    init.number = static_cast<uint32_t>(doc.globals.size() - 1);
    init.list = initialiser_list(type);
    doc.inits.push_back(std::move(init));
}

// "{ value, value, .. }"; the nodes are expected to have the type of the object's elements.
std::vector<TREE> PARSER::initialiser_list(uint32_t symbol_type) {
    uint64_t bit = 0;
    std::vector<TREE> nodes;
    need_punct("{");
    for (;;) {
        skip_newlines();
        if (take_punct("}")) return nodes;
        const int root = top(leaf_type(table, symbol_type, bit));
        settle(root);
        bit += initialiser_step(at(root), table);
        nodes.push_back(finish_tree(root));
        skip_newlines();
        if (take_punct(",")) continue;
        if (!at_punct("}")) expected("',' or '}'");
    }
}

// ".init name = { .. }"
void PARSER::init_line(bool in_body) {
    const TOKEN where = lex.peek();
    const std::string symbol_name = name_word();
    SCOPE::PLACE place{};
    if (take_punct("#")) {
        const TOKEN t = lex.next();
        uint64_t index = 0;
        if (t.kind != TOKEN::WORD || t.text.size() < 2 || t.text.size() > 10 || t.text[0] != 'g')
            fail(t, "a number like #g1 is expected");
        for (size_t i = 1; i < t.text.size(); i++) {
            if (t.text[i] < '0' || t.text[i] > '9') fail(t, "a number like #g1 is expected");
            index = index * 10 + static_cast<uint64_t>(t.text[i] - '0');
        }
        if (index >= doc.globals.size()) fail(t, "there is no global of that number");
        place.index = static_cast<uint32_t>(index);
    } else if (!scope.find_global(symbol_name, place)) {
        fail(where, "'" + symbol_name + "' is not declared");
    }
    need_punct("=");
    ITEM init;
    init.id = REC_INIT;
    init.number = place.index;
    init.list = initialiser_list(doc.globals[place.index].type);
    if (in_body)
        emit(std::move(init));
    else
        doc.inits.push_back(std::move(init));
}

} // namespace nxtext
