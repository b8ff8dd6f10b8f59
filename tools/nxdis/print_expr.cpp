// Trees to text.
#include "printer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <unordered_map>

namespace nxtext {

// --------------------------------------------------------------------------------------------------------- operators

const std::string& opcode_word(int op) {
    static const auto words = [] {
        std::array<std::string, 256> w;
        for (size_t i = 0; i < 256; i++) w[i] = "op" + std::to_string(i);
#define OPCODE(no, name, text, n, op, inv, com, cls, flags)                                                            \
    if (no <= LAST_FILE_OPCODE) w[no] = #name;
#include "ir/opcodes.def"
        w[FILE_OPCODE_VREG] = "vreg";
        w[RETURN] = "return_from"; // the bare word is a statement
        for (std::string& s : w)
            std::transform(s.begin(), s.end(), s.begin(),
                           [](unsigned char c) { return static_cast<char>(tolower(c)); });
        return w;
    }();
    return words[static_cast<size_t>(op) & 0xFF];
}

int opcode_of_word(const std::string& word) {
    static const auto numbers = [] {
        std::unordered_map<std::string, int> m;
        for (int i = 0; i <= FILE_OPCODE_VREG; i++) m.emplace(opcode_word(i), i);
        return m;
    }();
    const auto found = numbers.find(word);
    return found == numbers.end() ? -1 : found->second;
}

int field_count(int op) {
    switch (op) {
    case LABEL:
    case SWITCH:
    case UCALL:
    case EPVAL:
    case SKIP:
    case ICON:
    case FILE_OPCODE_VREG: return 1;
    case NAME:
    case CALL: return 2;
    case FIELD:
    case DDNODE: return 3;
    case FCON:
    case LCON:
    case SCON:
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return -1;
    default: return 0;
    }
}

namespace {

// Operators of two values whose listing text stands between them.
bool is_infix(int op) {
    return opcode_is_binary_arithmetic(op) || opcode_is_shift(op) || opcode_is_comparison(op) || op == ANDAND ||
           op == OROR || assigns(op);
}

} // namespace

const char* infix_text(int op) {
    static const auto texts = [] {
        std::array<const char*, 256> t{};
#define OPCODE(no, name, text, n, op, inv, com, cls, flags)                                                            \
    if (is_infix(no)) t[no] = text;
#include "ir/opcodes.def"
        t[STASG] = ":="; // "=" is taken
        return t;
    }();
    return op >= 0 && op < 256 ? texts[static_cast<size_t>(op)] : nullptr;
}

const char* prefix_text(int op) {
    switch (op) {
    case UMINUS: return "-";
    case UMULT: return "*";
    case UAND: return "&";
    case EXCLAIM: return "!";
    case NOTB: return "~";
    default: return nullptr;
    }
}

bool assigns(int op) { return opcode_is_store(op) && op != ARASG; }

// ------------------------------------------------------------------------------------------------------------- leaves

namespace {

// A number that the parser reads as FCON with this very text.
bool is_float_text(const std::string& s) {
    size_t i = !s.empty() && s[0] == '-' ? 1 : 0;
    const auto digits = [&](bool hex) {
        const size_t from = i;
        while (i < s.size() &&
               (hex ? isxdigit(static_cast<unsigned char>(s[i])) : isdigit(static_cast<unsigned char>(s[i]))) != 0)
            i++;
        return i > from;
    };
    const bool hex = s.compare(i, 2, "0x") == 0;
    if (hex) i += 2;
    bool marked = false;
    if (!digits(hex)) return false;
    if (i < s.size() && s[i] == '.') {
        marked = true;
        i++;
        digits(hex);
    }
    if (i < s.size() && (s[i] == (hex ? 'p' : 'e') || s[i] == (hex ? 'P' : 'E'))) {
        marked = true;
        i++;
        if (i < s.size() && (s[i] == '+' || s[i] == '-')) i++;
        if (!digits(false)) return false;
    } else if (hex) {
        return false;
    }
    return marked && i == s.size();
}

// A decimal number that does not fit the 32 bits of an ICON of its signedness, in its plain form.
bool is_wide_decimal(const std::string& s, bool is_signed) {
    const bool negative = !s.empty() && s[0] == '-';
    const std::string digits = s.substr(negative ? 1 : 0);
    if (digits.empty() || digits.size() > 20 || digits[0] == '0') return false;
    if (!std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return isdigit(c) != 0; })) return false;
    if (negative && !is_signed) return false; // would be wrapped
    const std::string limit = !is_signed ? "4294967295" : negative ? "2147483648" : "2147483647";
    const std::string most = "18446744073709551615"; // what the parser reads
    if (digits.size() == most.size() && digits > most) return false;
    return digits.size() > limit.size() || (digits.size() == limit.size() && digits > limit);
}

} // namespace

// The shortest text that stands for the symbol here: its name, parm(name), or the name with its number.
void PRINTER::name(const ENODE& n) {
    const SCOPE::PLACE want{n.f[0], n.f[1]};
    SCOPE::PLACE found{};
    const auto same = [&] { return found.scope == want.scope && found.index == want.index; };
    const std::string* text = scope.name_of(want);
    const bool usual_scope = want.scope == 0 || (text != nullptr && scope.locals[want.index].depth == want.scope);
    if (text == nullptr || !usual_scope) {
        out += "name[" + std::to_string(want.scope) + ", " + std::to_string(want.index) + "]";
        return;
    }
    if (scope.find(*text, found) && same()) {
        out += quote_name(*text);
    } else if (scope.find_parameter(*text, found) && same()) {
        out += "parm(" + quote_name(*text) + ")";
    } else {
        out += quote_name(*text) + (want.scope == 0 ? "#g" : "#") + std::to_string(want.index);
    }
}

// A NAME that can be called by its bare name: a global of function type.
bool PRINTER::direct_callee(const TREE& t, int n) {
    const ENODE& uand = t[n];
    if (uand.op != UAND || t[uand.left].op != NAME || !is_natural(t, n, 0) || !is_natural(t, uand.left, 0))
        return false;
    const ENODE& sym = t[uand.left];
    SCOPE::PLACE found{};
    const std::string* text = scope.name_of({sym.f[0], sym.f[1]});
    return sym.f[0] == 0 && text != nullptr && types.facts(types.unqualified(sym.type)).kind == TK_FUNCTION &&
           scope.find(*text, found) && found.scope == 0 && found.index == sym.f[1];
}

// -------------------------------------------------------------------------------------------------------------- lists

// Elements of a left-leaning chain of COMMA; a chain with an odd type somewhere is one element from there on.
size_t PRINTER::count_list(const TREE& t, int n) {
    size_t count = 1;
    for (; t[n].op == COMMA && is_natural(t, n, 0); n = t[n].left) count++;
    return count;
}

void PRINTER::list(const TREE& t, int n, uint32_t callee_type, uint32_t expect) {
    std::vector<int> elements;
    for (; t[n].op == COMMA && is_natural(t, n, 0); n = t[n].left) elements.push_back(t[n].right);
    elements.push_back(n);
    std::reverse(elements.begin(), elements.end());
    for (size_t i = 0; i < elements.size(); i++) {
        if (i != 0) out += ", ";
        top(t, elements[i], callee_type != 0 ? argument_expectation(callee_type, i, types) : expect);
    }
}

void PRINTER::call(const TREE& t, int n) {
    const ENODE& c = t[n];
    const bool has_arguments = c.op == CALL;
    if (direct_callee(t, c.left)) {
        const std::string& callee = *scope.name_of({0, t[t[c.left].left].f[1]});
        const bool clash = opcode_of_word(callee) >= 0 || callee == "u";
        out += clash ? "'" + callee + "'" : quote_name(callee);
        out += '(';
    } else {
        out += "call(";
        top(t, c.left, 0);
        if (has_arguments) out += ", ";
    }
    const uint32_t callee_type = t[c.left].type;
    if (has_arguments) list(t, c.right, callee_type, 0);
    out += ')';
    const uint32_t natural = has_arguments ? natural_extra_arguments(callee_type, count_list(t, c.right), types) : 0;
    const uint32_t extra = has_arguments ? c.f[0] : 0, entry = has_arguments ? c.f[1] : c.f[0];
    if (extra == natural && entry == 0) return;
    out += '{';
    if (extra != natural) out += "extra " + std::to_string(extra) + (entry != 0 ? ", " : "");
    if (entry != 0) out += "eh " + std::to_string(entry);
    out += '}';
}

// -------------------------------------------------------------------------------------------------------------- nodes

// word[fields](operands): says everything but the type, for any node.
void PRINTER::generic(const TREE& t, int n, uint32_t expect) {
    const ENODE& e = t[n];
    out += opcode_word(e.op);
    const int fields = field_count(e.op);
    if (fields < 0) {
        out += "[" + quote_string(e.text) + "]";
    } else if (fields > 0 || e.left < 0) {
        out += '[';
        for (int i = 0; i < fields; i++) out += (i == 0 ? "" : ", ") + std::to_string(e.f[i]);
        out += ']';
    }
    if (e.left < 0) return;
    out += '(';
    if ((e.op == COMMA || e.op == PCOMMA || e.op == COMMAOP) && e.right >= 0) {
        std::vector<int> elements{e.right};
        int first = e.left;
        for (; t[first].op == e.op && is_natural(t, first, 0); first = t[first].left)
            elements.push_back(t[first].right);
        elements.push_back(first);
        std::reverse(elements.begin(), elements.end());
        for (size_t i = 0; i < elements.size(); i++) {
            if (i != 0) out += ", ";
            top(t, elements[i], 0);
        }
    } else if (takes_list(e.op)) {
        list(t, e.left, 0, 0);
    } else {
        top(t, e.left, e.right < 0 ? operand_expectation(e.op, expect) : expect);
        if (e.right >= 0) {
            out += ", ";
            top(t, e.right, right_expectation(t, n, expect, types));
        }
    }
    out += ')';
}

// The forms that are shorter than the generic one. False, with nothing written, where there is none.
bool PRINTER::shorthand(const TREE& t, int n, uint32_t expect) {
    const ENODE& e = t[n];
    switch (e.op) {
    case NAME: name(e); return true;
    case LABEL: out += "L" + std::to_string(e.f[0]); return true;
    case ICON:
        if (!types.is_integral(e.type)) return false;
        out += types.is_signed(e.type) ? std::to_string(static_cast<int32_t>(e.f[0])) : std::to_string(e.f[0]);
        return true;
    case LCON:
        if (!types.is_integral(e.type) || types.facts(types.unqualified(e.type)).size <= 32) return false;
        if (!is_wide_decimal(e.text, types.is_signed(e.type))) return false;
        out += e.text;
        return true;
    case FCON:
        if (!is_float_text(e.text)) return false;
        out += e.text;
        return true;
    case SCON: out += quote_string(e.text); return true;
    case STDOT:
    case STREF: {
        const uint32_t csu = selected_struct(t, n, types);
        const ENODE& f = t[e.right];
        if (csu == 0 || f.op != FIELD || f.f[0] != 1 || f.f[2] != csu || !is_natural(t, e.right, 0)) return false;
        const MEMBER_INFO* m = types.member(csu, f.f[1]);
        if (m == nullptr || m->name.empty() || types.member(csu, m->name) != m) return false;
        primary(t, e.left, 0);
        out += (e.op == STDOT ? "." : "->") + quote_name(m->name);
        return true;
    }
    case QUEST: {
        const ENODE& arms = t[e.right];
        if (arms.op != COLON || !is_natural(t, e.right, expect)) return false;
        out += "quest(";
        top(t, e.left, expect);
        out += ", ";
        top(t, arms.left, expect);
        out += ", ";
        top(t, arms.right, right_expectation(t, e.right, expect, types));
        out += ')';
        return true;
    }
    case CALL:
    case UCALL: call(t, n); return true;
    default: return false;
    }
}

void PRINTER::suffix(const TREE& t, int n, uint32_t expect) {
    if (is_natural(t, n, expect)) return;
    const std::string text = types.text(t[n].type);
    const bool word = text.find_first_of(" *&[(") == std::string::npos;
    out += word ? ":" + text : ":{" + text + "}";
}

void PRINTER::binary(const TREE& t, int n, uint32_t expect) {
    const ENODE& e = t[n];
    operand(t, e.left, expect);
    out += ' ';
    out += infix_text(e.op);
    out += ' ';
    operand(t, e.right, right_expectation(t, n, expect, types));
}

bool PRINTER::bare_binary(const TREE& t, int n, uint32_t expect) {
    return infix_text(t[n].op) != nullptr && is_natural(t, n, expect);
}

namespace {
struct DEPTH {
    int& depth;
    explicit DEPTH(int& d) : depth(d) {
        if (++depth > max_text_depth) throw file_fault(0, "an expression nests too deep to be shown");
    }
    ~DEPTH() { depth--; }
};
} // namespace

void PRINTER::top(const TREE& t, int n, uint32_t expect) {
    if (!bare_binary(t, n, expect)) return operand(t, n, expect);
    DEPTH guard(depth);
    binary(t, n, expect);
}

void PRINTER::operand(const TREE& t, int n, uint32_t expect) {
    const ENODE& e = t[n];
    const char* prefix = prefix_text(e.op);
    const bool cast = (e.op == SCONV || e.op == PCONV) && e.type != 0 &&
                      (e.op == PCONV) == (types.is_pointer(e.type) || types.element(e.type) != 0);
    if ((prefix == nullptr || !is_natural(t, n, expect)) && !cast) return primary(t, n, expect);
    DEPTH guard(depth);
    const size_t from = out.size();
    if (cast) {
        out += "(" + types.text(e.type) + ")";
        operand(t, e.left, 0);
        return;
    }
    out += prefix;
    const size_t inner = out.size();
    operand(t, e.left, operand_expectation(e.op, expect));
    // "--", "&&" and "-5" are read otherwise, "!=" and the like cannot arise
    const char next = out[inner];
    if (next == out[from] || (e.op == UMINUS && isdigit(static_cast<unsigned char>(next)) != 0)) {
        out.insert(inner, 1, '(');
        out += ')';
    }
}

void PRINTER::primary(const TREE& t, int n, uint32_t expect) {
    DEPTH guard(depth);
    const ENODE& e = t[n];
    if (infix_text(e.op) != nullptr) {
        out += '(';
        binary(t, n, expect);
        out += ')';
    } else if (prefix_text(e.op) != nullptr) {
        out += '(';
        out += prefix_text(e.op);
        const size_t inner = out.size();
        operand(t, e.left, operand_expectation(e.op, expect));
        const char next = out[inner];
        if (next == out[inner - 1] || (e.op == UMINUS && isdigit(static_cast<unsigned char>(next)) != 0)) {
            out.insert(inner, 1, '(');
            out += ')';
        }
        out += ')';
    } else if (e.op == SCONV || e.op == PCONV) {
        const bool cast = e.type != 0 && (e.op == PCONV) == (types.is_pointer(e.type) || types.element(e.type) != 0);
        if (cast) {
            out += "((" + types.text(e.type) + ")";
            operand(t, e.left, 0);
            out += ')';
            return; // the cast says the type
        }
        generic(t, n, expect);
    } else if (!shorthand(t, n, expect)) {
        generic(t, n, expect);
    }
    suffix(t, n, expect);
}

} // namespace nxtext
