// Expressions in the text.
#include "parser.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace nxtext {

namespace {

struct DEPTH {
    int& depth;
    DEPTH(int& d, const TOKEN& at) : depth(d) {
        if (++depth > max_text_depth) throw text_fault(at.line, at.column, "the expression nests too deep");
    }
    ~DEPTH() { depth--; }
};

} // namespace

// An address whose pointer type does not exist yet waits with it until it is an operand: in front of that a suffix may
// still give it another type, and a type that nobody has must not be made.
void PARSER::settle(int n) {
    if (n >= 0 && at(n).op == UAND && at(n).type == no_type) at(n).type = natural_type(tree, n, 0, scope, *this, true);
}

int PARSER::node(int op, const TOKEN& start, int left, int right) {
    settle(left);
    settle(right);
    ENODE n;
    n.op = static_cast<uint8_t>(op);
    n.left = left;
    n.right = right;
    n.type = no_type;
    tree.nodes.push_back(std::move(n));
    node_places.emplace_back(start.line, start.column);
    return static_cast<int>(tree.nodes.size()) - 1;
}

// ":word", ":$7", ":{int*}", ":none"
bool PARSER::take_suffix(uint32_t& type_out) {
    if (!at_punct(":")) return false;
    lex.next();
    if (take_word("none")) {
        type_out = 0;
        return true;
    }
    if (take_punct("{")) {
        type_out = type();
        need_punct("}");
        return true;
    }
    const TOKEN t = lex.peek();
    uint8_t kind = 0;
    bool sign = false;
    if (t.kind != TOKEN::TYPEREF && !(t.kind == TOKEN::WORD && basic_type_kind(t.text, kind, sign)))
        fail(t, "a type is expected; one of several words stands in braces");
    type_out = resolve(base_type(false));
    return true;
}

void PARSER::give_type(int n, uint32_t expect) {
    uint32_t given = 0;
    at(n).type = take_suffix(given) ? given : natural_type(tree, n, expect, scope, *this, true);
}

// Takes the tree that has been built; every node must have got its type.
TREE PARSER::finish_tree(int root) {
    settle(root);
    for (size_t i = 0; i < tree.nodes.size(); i++)
        if (tree.nodes[i].type == no_type)
            throw text_fault(node_places[i].first, node_places[i].second, "the type of this must be written");
    TREE done = std::move(tree);
    done.root = root;
    tree = TREE();
    node_places.clear();
    return done;
}

// -------------------------------------------------------------------------------------------------------- operators

// The infix operator that comes next, -1 if none; `words` is how many words it has.
int PARSER::infix_here(size_t& words) {
    static const std::map<std::string, int> operators = [] {
        std::map<std::string, int> m;
        for (int op = 0; op <= LAST_FILE_OPCODE; op++)
            if (infix_text(op) != nullptr) m[infix_text(op)] = op;
        return m;
    }();
    words = 1;
    const TOKEN& t = lex.peek();
    if (t.kind == TOKEN::WORD && t.text == "u" && lex.peek(1).kind == TOKEN::PUNCT && lex.peek(1).adjacent) {
        words = 2;
        const auto found = operators.find("u" + lex.peek(1).text);
        return found == operators.end() ? -1 : found->second;
    }
    if (t.kind != TOKEN::PUNCT) return -1;
    const auto found = operators.find(t.text);
    return found == operators.end() ? -1 : found->second;
}

int PARSER::top(uint32_t expect) {
    const TOKEN start = lex.peek();
    DEPTH guard(depth, start);
    const int left = operand(expect);
    size_t words = 0;
    const int op = infix_here(words);
    if (op < 0) return left;
    const TOKEN sign = lex.next();
    if (words == 2) lex.next();
    const int n = node(op, sign, left);
    const int right = operand(right_expectation(tree, n, expect, table));
    settle(right);
    at(n).right = right;
    at(n).type = natural_type(tree, n, expect, scope, *this, true);
    if (infix_here(words) >= 0) fail(lex.peek(), "parentheses must show which operator goes first");
    return n;
}

int PARSER::operand(uint32_t expect) {
    const TOKEN start = lex.peek();
    DEPTH guard(depth, start);
    if (start.kind == TOKEN::PUNCT) {
        const TOKEN& after = lex.peek(1);
        const bool number_follows = (after.kind == TOKEN::NUMBER || after.kind == TOKEN::FLOAT) && after.adjacent;
        if (start.text == "-" && number_follows) {
            lex.next();
            return postfix(literal(true, expect));
        }
        const int op = start.text == "-"   ? UMINUS
                       : start.text == "*" ? UMULT
                       : start.text == "&" ? UAND
                       : start.text == "!" ? EXCLAIM
                       : start.text == "~" ? NOTB
                                           : -1;
        if (op >= 0) {
            lex.next();
            const int of = operand(operand_expectation(op, expect));
            const int n = node(op, start, of);
            TYPE_SOURCE known(table); // settle() makes what is missing
            at(n).type = natural_type(tree, n, expect, scope, op == UAND ? known : *this, true);
            return n;
        }
        if (start.text == "(") {
            lex.next();
            if (at_type()) {
                const uint32_t to = type();
                need_punct(")");
                const int of = operand(0);
                const int n = node(table.is_pointer(to) || table.element(to) != 0 ? PCONV : SCONV, start, of);
                at(n).type = to;
                return n;
            }
            const int inner = top(expect);
            need_punct(")");
            uint32_t given = 0;
            if (take_suffix(given)) at(inner).type = given;
            return postfix(inner);
        }
    }
    return postfix(primary(expect));
}

// Members behind an operand that is complete.
int PARSER::postfix(int n) {
    for (;;) {
        if (!at_punct(".") && !at_punct("->")) return n;
        const TOKEN sign = lex.next();
        const TOKEN where = lex.peek();
        const std::string member_name = name_word();
        const int select = node(sign.text == "." ? STDOT : STREF, sign, n);
        const uint32_t csu = selected_struct(tree, select, table);
        if (csu == 0)
            fail(sign, sign.text == "." ? "what stands in front is no struct or union"
                                        : "what stands in front is no pointer to a struct or union");
        const MEMBER_INFO* m = table.member(csu, member_name);
        if (m == nullptr) fail(where, "no member '" + member_name + "' in " + table.text(csu));
        const int field = node(FIELD, where);
        at(field).f = {1, m->id, csu};
        at(field).type = natural_type(tree, field, 0, scope, *this, true);
        at(select).right = field;
        give_type(select, 0);
        n = select;
    }
}

// ----------------------------------------------------------------------------------------------------------- leaves

int PARSER::literal(bool negative, uint32_t expect) {
    const TOKEN t = lex.next();
    if (t.kind == TOKEN::FLOAT) {
        const int n = node(FCON, t);
        at(n).text = (negative ? "-" : "") + t.text;
        give_type(n, expect);
        return n;
    }
    errno = 0;
    const bool hex = t.text.size() > 1 && (t.text[1] == 'x' || t.text[1] == 'X');
    const uint64_t magnitude = strtoull(t.text.c_str(), nullptr, hex ? 16 : 10);
    if (errno != 0) fail(t, "the number does not fit 64 bits");
    const int n = node(ICON, t);
    give_type(n, expect);
    const uint32_t of = at(n).type;
    const bool is_signed = table.is_signed(of);
    const bool wide = table.facts(table.unqualified(of)).size > 32;
    if (is_signed) {
        const uint64_t most = negative ? 0x80000000U : 0x7FFFFFFFU;
        if (magnitude <= most) {
            at(n).f[0] = static_cast<uint32_t>(negative ? 0 - magnitude : magnitude);
            return n;
        }
        if (!wide || (negative ? magnitude > (1ULL << 63) : magnitude >= (1ULL << 63))) {
            if (hex && !negative && magnitude <= UINT32_MAX) { // a bit pattern
                at(n).f[0] = static_cast<uint32_t>(magnitude);
                return n;
            }
            if (!wide || negative) fail(t, "the number does not fit its type");
        }
        at(n).op = LCON;
        at(n).text = (negative ? "-" : "") + std::to_string(magnitude);
        return n;
    }
    uint64_t v = negative ? 0 - magnitude : magnitude;
    const uint32_t bits = table.facts(table.unqualified(of)).size;
    if (negative && bits < 64 && bits > 0) v &= (1ULL << bits) - 1;
    if (v <= UINT32_MAX) {
        at(n).f[0] = static_cast<uint32_t>(v);
        return n;
    }
    if (!wide) fail(t, "the number does not fit its type");
    at(n).op = LCON;
    at(n).text = std::to_string(v);
    return n;
}

// A symbol by its name, "name#3" local 3, "name#g3" global 3.
int PARSER::symbol_node(const TOKEN& t) {
    SCOPE::PLACE place{};
    if (at_punct("#")) {
        lex.next();
        const bool global = lex.peek().kind == TOKEN::WORD && lex.peek().text[0] == 'g';
        const TOKEN where = lex.next();
        const std::string digits = global ? where.text.substr(1) : where.text;
        if (!global && where.kind != TOKEN::NUMBER) fail(where, "the number of a symbol is expected");
        if (digits.empty() || digits.size() > 9 ||
            !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
            fail(where, "the number of a symbol is expected");
        place.index = static_cast<uint32_t>(std::stoul(digits));
        if (place.index >= (global ? doc.globals.size() : scope.locals.size()))
            fail(where, "there is no symbol of that number");
        place.scope = global ? 0 : scope.locals[place.index].depth;
        if (*scope.name_of(place) != t.text) fail(t, "the symbol of that number has another name");
    } else if (!scope.find(t.text, place)) {
        fail(t, "'" + t.text + "' is not declared");
    }
    const int n = node(NAME, t);
    at(n).f[0] = place.scope;
    at(n).f[1] = place.index;
    return n;
}

int PARSER::primary(uint32_t expect) {
    const TOKEN t = lex.peek();
    switch (t.kind) {
    case TOKEN::NUMBER:
    case TOKEN::FLOAT: return literal(false, expect);
    case TOKEN::STRING: {
        lex.next();
        const int n = node(SCON, t);
        at(n).text = t.text;
        give_type(n, expect);
        return n;
    }
    case TOKEN::WORD:
    case TOKEN::QUOTED: return named(expect);
    default: expected("an expression");
    }
}

int PARSER::named(uint32_t expect) {
    const TOKEN t = lex.next();
    const bool word = t.kind == TOKEN::WORD;
    if (word && is_label_word(t.text)) {
        const int n = node(LABEL, t);
        const uint64_t number = std::stoull(t.text.substr(1));
        if (number > UINT32_MAX) fail(t, "the label's number is too large");
        at(n).f[0] = static_cast<uint32_t>(number);
        give_type(n, 0);
        return n;
    }
    if (at_punct("(") || at_punct("[")) {
        if (word && t.text == "parm" && at_punct("(")) {
            lex.next();
            const TOKEN where = lex.peek();
            const std::string parameter = name_word();
            need_punct(")");
            SCOPE::PLACE place{};
            if (!scope.find_parameter(parameter, place)) fail(where, "'" + parameter + "' is no parameter");
            const int n = node(NAME, t);
            at(n).f[0] = place.scope;
            at(n).f[1] = place.index;
            give_type(n, 0);
            return n;
        }
        if (word && t.text == "call" && at_punct("(")) {
            lex.next();
            const int callee = top(0);
            return call_rest(t, callee, false);
        }
        const int op = word ? opcode_of_word(t.text) : -1;
        if (op >= 0) return functional(op, t, expect);
        if (at_punct("[")) fail(t, "'" + t.text + "' is no operation");
        return direct_call(t);
    }
    if (word && is_reserved_word(t.text))
        fail(t, "'" + t.text + "' is a word of its own; a symbol of that name stands in quotes");
    const int n = symbol_node(t);
    if (at_punct("(")) fail(lex.peek(), "call(pointer, arguments) calls through a pointer");
    give_type(n, 0);
    return n;
}

// ------------------------------------------------------------------------------------------------------------ calls

int PARSER::direct_call(const TOKEN& start) {
    SCOPE::PLACE place{};
    if (!scope.find(start.text, place)) fail(start, "'" + start.text + "' is not declared");
    const uint32_t symbol_type = scope.type_of(place);
    if (table.facts(table.unqualified(symbol_type)).kind != TK_FUNCTION)
        fail(start, "'" + start.text + "' is no function; call(pointer, arguments) calls through a pointer");
    const int symbol = node(NAME, start);
    at(symbol).f[0] = place.scope;
    at(symbol).f[1] = place.index;
    at(symbol).type = symbol_type;
    const int callee = node(UAND, start, symbol);
    at(callee).type = pointer_to(symbol_type);
    need_punct("(");
    return call_rest(start, callee, true);
}

// A list of one node, or a left-leaning chain.
int PARSER::chain(int op, const std::vector<int>& elements, const TOKEN& start) {
    int n = elements[0];
    for (size_t i = 1; i < elements.size(); i++) {
        n = node(op, start, n, elements[i]);
        at(n).type = natural_type(tree, n, 0, scope, *this, true);
    }
    return n;
}

// The arguments up to ")" and the fields in braces. `first`: none has been read since the opening parenthesis.
int PARSER::call_rest(const TOKEN& start, int callee, bool first) {
    std::vector<int> arguments;
    settle(callee);
    const uint32_t callee_type = at(callee).type;
    while (!take_punct(")")) {
        if (!first) need_punct(",");
        first = false;
        arguments.push_back(top(argument_expectation(callee_type, arguments.size(), table)));
    }
    const bool any = !arguments.empty();
    const int list = any ? chain(COMMA, arguments, start) : -1;
    const int n = node(any ? CALL : UCALL, start, callee, list);
    uint32_t extra = natural_extra_arguments(callee_type, arguments.size(), table), entry = 0;
    if (at_punct("{") && (at_word("extra", 1) || at_word("eh", 1))) {
        lex.next();
        do {
            if (take_word("extra"))
                extra = number();
            else if (take_word("eh"))
                entry = number();
            else
                expected("'extra' or 'eh'");
        } while (take_punct(","));
        need_punct("}");
    }
    at(n).f = {any ? extra : entry, any ? entry : 0, 0};
    give_type(n, 0);
    return n;
}

// word[fields](operands)
int PARSER::functional(int op, const TOKEN& start, uint32_t expect) {
    std::array<uint32_t, 3> f{};
    std::string text;
    const int fields = field_count(op);
    if (take_punct("[")) {
        if (fields < 0) {
            const TOKEN s = lex.next();
            if (s.kind != TOKEN::STRING) fail(s, "a string is expected");
            if (op != SCON && s.text.find('\0') != std::string::npos) fail(s, "the string must not hold a zero");
            text = s.text;
        }
        for (int i = 0; i < fields; i++) {
            if (i != 0) need_punct(",");
            f[static_cast<size_t>(i)] = static_cast<uint32_t>(signed_number(INT32_MIN, UINT32_MAX));
        }
        need_punct("]");
    } else if (fields < 0) {
        fail(start, start.text + " needs its text in brackets");
    }
    std::vector<int> operands;
    const int count = operands_in_file(op);
    const bool list = takes_list(op), commas = op == COMMA || op == PCOMMA || op == COMMAOP;
    const bool ternary = op == QUEST;
    if (count > 0) {
        need_punct("(");
        // As printed: the left operand is expected what the node is, the right one what the left tells.
        int shell = -1;
        do {
            const size_t i = operands.size();
            uint32_t want = 0;
            if (commas || list)
                want = 0;
            else if (count == 1)
                want = operand_expectation(op, expect);
            else if (i == 0)
                want = expect;
            else if (ternary)
                want = i == 1 ? expect : right_expectation(tree, shell, expect, table);
            else
                want = right_expectation(tree, shell, expect, table);
            const int one = top(want);
            operands.push_back(one);
            if (count == 2 && !commas && i == (ternary ? 1 : 0)) {
                shell = node(ternary ? COLON : op, start, one);
                at(shell).type = 0;
            }
        } while (take_punct(","));
        need_punct(")");
        const size_t have = operands.size(), need = static_cast<size_t>(count);
        if (ternary && have == 3) {
            settle(operands[2]);
            at(shell).right = operands[2];
            at(shell).type = natural_type(tree, shell, expect, scope, *this, true);
            operands = {operands[0], shell};
        } else if (list) {
            operands = {chain(COMMA, operands, start)};
        } else if (commas && have > 2) {
            const int last = operands.back();
            operands.pop_back();
            operands = {chain(op, operands, start), last};
        } else if (have != need) {
            fail(start, start.text + " needs " + std::to_string(need) + (need == 1 ? " operand" : " operands"));
        }
    }
    const int n = node(op, start, count > 0 ? operands[0] : -1, count > 1 ? operands[1] : -1);
    at(n).f = f;
    at(n).text = std::move(text);
    if (op == DDNODE) at(n).f[2] &= 0xFF;
    if (op == FIELD) at(n).f[0] &= 0xFF;
    give_type(n, expect);
    return n;
}

} // namespace nxtext
