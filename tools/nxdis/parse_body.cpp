// The frame of the text: directives, functions, statements.
#include "parser.h"

#include "ir/symbol.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace nxtext {

DOCUMENT parse(const std::string& text, const std::string& name) {
    PARSER p(text, name);
    return p.run();
}

// ------------------------------------------------------------------------------------------------------------- words

void PARSER::expected(const std::string& what) {
    const TOKEN& t = lex.peek();
    const char* end = t.kind == TOKEN::END ? "the end of the text" : "the end of the line";
    const std::string found = t.kind == TOKEN::END || t.kind == TOKEN::NEWLINE     ? end
                              : t.kind == TOKEN::STRING || t.kind == TOKEN::QUOTED ? quote_string(t.text)
                                                                                   : "'" + t.text + "'";
    fail(t, what + " is expected, not " + found);
}

void PARSER::end_of_line() {
    if (lex.peek().kind == TOKEN::END) return;
    if (lex.peek().kind != TOKEN::NEWLINE) expected("the end of the line");
    lex.next();
}

int64_t PARSER::signed_number(int64_t low, int64_t high) {
    const TOKEN start = lex.peek();
    const bool negative = take_punct("-");
    const TOKEN t = lex.peek();
    if (t.kind != TOKEN::NUMBER) expected("a number");
    lex.next();
    const bool hex = t.text.size() > 1 && (t.text[1] == 'x' || t.text[1] == 'X');
    errno = 0;
    const unsigned long long v = strtoull(t.text.c_str(), nullptr, hex ? 16 : 10);
    const bool fits = errno == 0 && v <= static_cast<unsigned long long>(1LL << 40);
    const int64_t value = !fits ? 0 : negative ? -static_cast<int64_t>(v) : static_cast<int64_t>(v);
    if (!fits || value < low || value > high) fail(start, "the number is out of range");
    return value;
}

uint32_t PARSER::number() { return static_cast<uint32_t>(signed_number(0, UINT32_MAX)); }

uint32_t PARSER::label() {
    const TOKEN t = lex.peek();
    if (t.kind != TOKEN::WORD || !is_label_word(t.text)) expected("a label like L1");
    lex.next();
    const uint64_t v = std::stoull(t.text.substr(1));
    if (v > UINT32_MAX) fail(t, "the label's number is too large");
    return static_cast<uint32_t>(v);
}

std::string PARSER::string() {
    const TOKEN t = lex.peek();
    if (t.kind != TOKEN::STRING) expected("a string");
    if (t.text.find('\0') != std::string::npos) fail(t, "the string must not hold a zero");
    return lex.next().text;
}

std::string PARSER::name_word() {
    const TOKEN t = lex.peek();
    if (t.kind != TOKEN::WORD && t.kind != TOKEN::QUOTED) expected("a name");
    if (t.text.find('\0') != std::string::npos) fail(t, "the name must not hold a zero");
    return lex.next().text;
}

uint32_t PARSER::file_index(const std::string& file) {
    const auto found = std::find(doc.files.begin(), doc.files.end(), file);
    if (found != doc.files.end()) return static_cast<uint32_t>(found - doc.files.begin()) + 1;
    doc.files.push_back(file);
    return static_cast<uint32_t>(doc.files.size());
}

POS PARSER::position() {
    if (!take_punct("@")) return {};
    if (lex.peek().kind == TOKEN::STRING) {
        current_file = file_index(string());
        need_punct(":");
    } else if (take_punct("#")) {
        const TOKEN t = lex.peek();
        current_file = number();
        if (current_file == 0) fail(t, "files are counted from 1");
        need_punct(":");
    }
    if (current_file == 0) current_file = file_index(name.substr(name.find_last_of('/') + 1));
    POS p;
    p.file = current_file;
    p.line = number();
    need_punct(":");
    p.column = number();
    return p;
}

// --------------------------------------------------------------------------------------------------------- the frame

DOCUMENT PARSER::run() {
    for (;;) {
        skip_newlines();
        if (lex.peek().kind == TOKEN::END) break;
        top_level();
    }
    if (state != OUTSIDE) fail(open_blocks.back(), "the function or block that begins here has no end");
    prelude();
    return std::move(doc);
}

void PARSER::header_line(const TOKEN& t) {
    if (t.text == ".icode") {
        doc.version = static_cast<int>(signed_number(icode_version_min, icode_version));
    } else if (t.text == ".model") {
        if (model_chosen) fail(t, "the model must be chosen before anything else");
        if (take_word("none"))
            model_chosen = true;
        else
            need_word("default");
    } else if (t.text == ".producer") {
        doc.producer = string();
    } else if (t.text == ".reserved") {
        doc.reserved = number();
    } else if (t.text == ".file") {
        doc.files.push_back(string());
    } else {
        OPTION_SET set;
        set.number = number();
        while (lex.peek().kind == TOKEN::STRING) set.strings.push_back(string());
        doc.options.push_back(std::move(set));
    }
}

// One line, or one construct of several lines, anywhere.
void PARSER::top_level() {
    const TOKEN t = lex.peek();
    if (t.kind == TOKEN::DIRECTIVE) {
        lex.next();
        static const char* const frame[] = {".icode", ".model", ".producer", ".reserved", ".file", ".option_set"};
        if (std::any_of(std::begin(frame), std::end(frame), [&](const char* f) { return t.text == f; })) {
            header_line(t);
        } else {
            prelude();
            if (!type_directive(t.text) && !item_directive(t)) fail(t, "'" + t.text + "' is no directive");
        }
        if (t.text != ".eht") end_of_line();
        return;
    }
    prelude();
    if (state == OUTSIDE && t.kind == TOKEN::WORD) {
        if (t.text == "global" || t.text == "static" || t.text == "extern") {
            global_line();
            return end_of_line();
        }
        if (t.text == "struct" || t.text == "union" || t.text == "class") {
            struct_definition();
            return end_of_line();
        }
        if (t.text == "enum") {
            enum_definition();
            return end_of_line();
        }
        if (t.text == "func") {
            function_line();
            return end_of_line();
        }
    }
    if (state == OUTSIDE) expected("a declaration, a definition or 'func'");
    statement();
}

// Directives that make a record of the body, or an initialiser.
bool PARSER::item_directive(const TOKEN& t) {
    ITEM i;
    if (t.text == ".init" || t.text == ".body_init") {
        init_line(t.text == ".body_init");
        return true;
    }
    if (t.text == ".eht") {
        eht_block();
        return true;
    }
    if (t.text == ".args" || t.text == ".locals") {
        const bool args = t.text == ".args";
        if (state != (args ? ARGS : LOCALS)) fail(t, "'" + t.text + "' does not belong here");
        emit_simple(args ? REC_END_ARGS : REC_END_LOCALS, position());
        if (args) scope.end_args();
        state = args ? LOCALS : BODY;
        held = false;
        if (!args && prolog) make_prolog();
        return true;
    }
    if (t.text == ".prolog") {
        if (state != ARGS) fail(t, "'.prolog' stands behind the parameters, before anything else");
        close_header(false);
        const std::vector<SCOPE::LOCAL> parameters = scope.locals;
        for (const SCOPE::LOCAL& p : parameters) {
            if (p.sclass == SC_PARM_VARARGS) continue;
            SYMBOL_REC copy;
            copy.name = p.name;
            copy.type = p.type;
            copy.sclass = 1;
            copy.size = table.facts(p.type).size;
            copy.aln = table.facts(p.type).align;
            declare(std::move(copy));
            prolog = true;
        }
        return true;
    }
    if (t.text == ".comment" || t.text == ".source") {
        i.id = t.text == ".comment" ? REC_COMMENT : REC_SOURCE;
        i.text = string();
    } else if (t.text == ".asm") {
        i.id = REC_ASM;
        i.text = string();
        i.pos = position();
    } else if (t.text == ".pragma") {
        i.id = REC_PRAGMA;
        i.pragma = std::make_unique<PRAGMA_REC>(pragma_words());
    } else if (t.text == ".info") {
        i.id = REC_FUNC_INFO;
        i.number = static_cast<uint32_t>(signed_number(-128, 255)) & 0xFF;
    } else if (t.text == ".node") {
        i.id = REC_NODE;
        const int root = top(0);
        i.tree = finish_tree(root);
    } else if (t.text == ".raw") {
        i.id = static_cast<uint8_t>(signed_number(1, 254));
        const TOKEN where = lex.peek();
        const std::string hex = string();
        if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            fail(where, "pairs of hexadecimal digits are expected");
        for (size_t k = 0; k < hex.size(); k += 2)
            i.text += static_cast<char>(std::stoi(hex.substr(k, 2), nullptr, 16));
        switch (i.id) {
        case REC_DD_EDGE:
        case REC_DD_VECTOR:
        case REC_LOOP_DEF:
        case REC_MBANK:
        case REC_LDSPEC:
        case REC_LOOP_HEADER:
        case REC_IR_INS:
        case REC_IR_BEGIN_FUNC:
        case REC_IR_END_FUNC:
        case REC_TYPE: break;
        default: fail(t, "a record of this id has a form of its own");
        }
    } else {
        return false;
    }
    if ((state == ARGS || state == LOCALS) && !held) {
        held = true;
        held_from = doc.body.size();
    }
    emit(std::move(i));
    return true;
}

void PARSER::emit(ITEM&& i) { doc.body.push_back(std::move(i)); }

void PARSER::emit_simple(int id, POS pos) {
    ITEM i;
    i.id = static_cast<uint8_t>(id);
    i.pos = pos;
    emit(std::move(i));
}

// --------------------------------------------------------------------------------------------------------- functions

// "func name position {", or "func name: type .. {", which declares the function as well.
void PARSER::function_line() {
    const TOKEN start = lex.next();
    ITEM i;
    i.id = REC_BEGIN_FUNC;
    if (at_punct(":", 1)) {
        doc.globals.push_back(symbol(2, false));
        i.pos = doc.globals.back().pos;
        scope.global_added();
        i.number = static_cast<uint32_t>(doc.globals.size() - 1);
    } else {
        const TOKEN where = lex.peek();
        const std::string symbol_name = name_word();
        SCOPE::PLACE place{};
        if (take_punct("#")) {
            const TOKEN t = lex.next();
            if (t.kind != TOKEN::WORD || t.text.size() < 2 || t.text.size() > 10 || t.text[0] != 'g' ||
                t.text.find_first_not_of("0123456789", 1) != std::string::npos ||
                std::stoul(t.text.substr(1)) >= doc.globals.size())
                fail(t, "the number of a global like #g1 is expected");
            place.index = static_cast<uint32_t>(std::stoul(t.text.substr(1)));
        } else if (!scope.find_global(symbol_name, place)) {
            fail(where, "'" + symbol_name + "' is not declared");
        }
        i.number = place.index;
        i.pos = position();
    }
    need_punct("{");
    scope.begin_function(i.number);
    emit(std::move(i));
    open_blocks = {start};
    state = ARGS;
    held = prolog = false;
}

// The records that end the parameters and the locals, where the text leaves them out. They stand before pragmas and
// comments that came since.
void PARSER::close_header(bool locals_too) {
    size_t where = held ? held_from : doc.body.size();
    const auto insert = [&](int id) {
        ITEM i;
        i.id = static_cast<uint8_t>(id);
        doc.body.insert(doc.body.begin() + static_cast<std::ptrdiff_t>(where++), std::move(i));
    };
    if (state == ARGS) {
        insert(REC_END_ARGS);
        scope.end_args();
        state = LOCALS;
        held_from = where;
    }
    if (state == LOCALS && locals_too) {
        insert(REC_END_LOCALS);
        state = BODY;
        held = false;
        if (prolog) make_prolog();
    }
}

void PARSER::declare(SYMBOL_REC s) {
    scope.declare(s);
    ITEM i;
    i.id = REC_SYMBOL;
    i.symbol = std::make_unique<SYMBOL_REC>(std::move(s));
    emit(std::move(i));
}

// The assignments of the parameters to the copies that ".prolog" has declared.
void PARSER::make_prolog() {
    prolog = false;
    const TOKEN start;
    std::vector<int> assignments;
    std::vector<uint32_t> parameters;
    for (uint32_t p = 0; p < scope.locals.size() && scope.locals[p].depth == 1; p++)
        if (scope.locals[p].sclass != SC_PARM_VARARGS) parameters.push_back(p);
    const uint32_t first_copy = static_cast<uint32_t>(
        std::count_if(scope.locals.begin(), scope.locals.end(), [](const SCOPE::LOCAL& l) { return l.depth == 1; }));
    for (uint32_t k = 0; k < parameters.size(); k++) {
        const auto name_node = [&](uint32_t depth_of, uint32_t index) {
            const int n = node(NAME, start);
            at(n).f = {depth_of, index, 0};
            at(n).type = scope.locals[index].type;
            return n;
        };
        const int to = name_node(2, first_copy + k), from = name_node(1, parameters[k]);
        const int n = node(table.is_csu(at(to).type) ? STASG : ASG, start, to, from);
        at(n).type = natural_type(tree, n, 0, scope, *this, true);
        assignments.push_back(n);
    }
    ITEM i;
    i.id = REC_STMT;
    const int root = chain(PCOMMA, assignments, start);
    i.tree = finish_tree(root);
    emit(std::move(i));
}

void PARSER::statement() {
    const TOKEN t = lex.peek();
    if (t.kind == TOKEN::WORD && (t.text == "parm" || t.text == "local") && !at_punct("(", 1)) {
        lex.next();
        const bool parameter = t.text == "parm";
        if (parameter && state != ARGS) fail(t, "parameters stand before the locals and statements");
        if (!parameter) close_header(false);
        declare(symbol(parameter ? 17 : 1, parameter));
        return end_of_line();
    }
    close_header(true);
    ITEM i;
    if (t.kind == TOKEN::PUNCT && t.text == "}") {
        lex.next();
        open_blocks.pop_back();
        if (open_blocks.empty()) {
            emit_simple(REC_END_FUNC, position());
            scope.end_function();
            state = OUTSIDE;
        } else {
            emit_simple(REC_END_BLOCK, position());
            scope.end_block();
        }
        return end_of_line();
    }
    if (t.kind == TOKEN::PUNCT && t.text == "{") {
        open_blocks.push_back(lex.next());
        emit_simple(REC_BEGIN_BLOCK, position());
        scope.begin_block();
        return end_of_line();
    }
    if (t.kind == TOKEN::WORD && is_label_word(t.text) && at_punct(":", 1)) {
        i.id = REC_LABEL;
        i.number = label();
        lex.next();
        emit(std::move(i));
        return end_of_line();
    }
    i.id = REC_STMT;
    const auto label_node = [&] {
        const int n = node(LABEL, lex.peek());
        at(n).f[0] = label();
        at(n).type = natural_type(tree, n, 0, scope, *this, true);
        return n;
    };
    const auto control = [&](int op, int left, int right) {
        const int n = node(op, t, left, right);
        at(n).type = natural_type(tree, n, 0, scope, *this, true);
        i.tree = finish_tree(n);
    };
    const auto current_function = [&] {
        const int n = node(NAME, t);
        at(n).f[1] = static_cast<uint32_t>(scope.function);
        at(n).type = natural_type(tree, n, 0, scope, *this, true);
        return n;
    };
    if (at_word("goto")) {
        lex.next();
        control(BRANCH, label_node(), -1);
    } else if (at_word("if")) {
        lex.next();
        if (!at_punct("!")) expected("'!(condition) goto label', which jumps when the condition is zero,");
        lex.next();
        need_punct("(");
        const int condition = top(0);
        need_punct(")");
        need_word("goto");
        control(CBRANCH, condition, label_node());
    } else if (at_word("switch") && !at_punct("[", 1)) {
        switch_statement(i);
    } else if (at_word("return")) {
        lex.next();
        const int self = current_function();
        if (lex.peek().kind == TOKEN::NEWLINE || lex.peek().kind == TOKEN::END || at_punct("@")) {
            control(URETURN, self, -1);
        } else {
            const uint32_t f = table.function_of(at(self).type);
            const int value = top(table.facts(f).part);
            control(RETURN, self, value);
        }
    } else if (at_word("nothing")) {
        lex.next();
    } else {
        const int root = top(0);
        i.tree = finish_tree(root);
    }
    i.pos = position();
    emit(std::move(i));
    end_of_line();
}

// "switch value { 1 => L1, 2 => L2, default => L3 }"
void PARSER::switch_statement(ITEM& i) {
    const TOKEN start = lex.next();
    const int selector = operand(0);
    const TOKEN brace = lex.peek();
    need_punct("{");
    std::vector<int> cells;
    uint32_t cases = 0;
    for (;;) {
        skip_newlines();
        const TOKEN t = lex.peek();
        const bool is_default = take_word("default");
        const int value = is_default ? -1 : top(at(selector).type);
        need_punct("=>");
        const int target = node(LABEL, lex.peek());
        at(target).f[0] = label();
        at(target).type = natural_type(tree, target, 0, scope, *this, true);
        const int cell = is_default ? node(DEFAULT, t, target) : node(CASE, t, value, target);
        at(cell).type = natural_type(tree, cell, 0, scope, *this, true);
        cells.push_back(cell);
        cases += !is_default;
        skip_newlines();
        if (take_punct("}")) break;
        if (lex.peek().kind == TOKEN::END) fail(brace, "the switch has no end");
        need_punct(",");
    }
    const int n = node(SWITCH, start, selector, chain(COMMA, cells, start));
    at(n).f[0] = cases;
    at(n).type = natural_type(tree, n, 0, scope, *this, true);
    i.tree = finish_tree(n);
}

// ".eht {" lines "id kind K next N ..", "}"
void PARSER::eht_block() {
    const TOKEN brace = lex.peek();
    need_punct("{");
    ITEM i;
    i.id = REC_EHT;
    for (;;) {
        skip_newlines();
        if (take_punct("}")) break;
        if (lex.peek().kind == TOKEN::END) fail(brace, "the table has no end");
        EHT_REC e;
        e.id = number();
        need_word("kind");
        e.kind = number();
        need_word("next");
        e.next = number();
        bool counted = false;
        if (take_word("count")) {
            e.count = number();
            counted = true;
        }
        const TOKEN where = lex.peek();
        if (take_word("cleanup")) {
            const int root = top(0);
            e.cleanup = finish_tree(root);
            e.pos = position();
        }
        while (take_word("catch")) {
            CATCH_REC c;
            need_punct("(");
            c.name = string();
            need_punct(",");
            c.label = number();
            need_punct(",");
            c.flag = static_cast<uint8_t>(signed_number(0, 255));
            need_punct(")");
            e.catches.push_back(std::move(c));
        }
        if (!counted) e.count = static_cast<uint32_t>(e.catches.size());
        if ((e.kind == EHK_CLEANUP) != (e.cleanup.root >= 0))
            fail(where, "an entry of kind 1, and no other, has a cleanup");
        if (e.kind != EHK_CATCH && !e.catches.empty()) fail(where, "only an entry of kind 2 has catches");
        if (e.kind == EHK_CATCH && e.count != e.catches.size()) fail(where, "the count is not that of the catches");
        i.eht.push_back(std::move(e));
        end_of_line();
    }
    emit(std::move(i));
    end_of_line();
}

} // namespace nxtext
