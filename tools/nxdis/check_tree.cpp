// Are the trees well formed? Opcodes in their places, operand types as the opcodes want them.
#include "checker.h"

#include "printer.h"

#include <algorithm>
#include <set>

namespace nxtext {

namespace {

bool has_entry(int op) { // opcodes that have a name and may stand in a file
    static const auto known = [] {
        std::array<bool, 256> k{};
#define OPCODE(no, name, text, n, op, inv, com, cls, flags)                                                            \
    if (no <= LAST_FILE_OPCODE) k[no] = true;
#include "ir/opcodes.def"
        return k;
    }();
    return known[static_cast<size_t>(op) & 0xFF];
}

bool typeless(int op) {
    return op == LABEL || op == COMMA || op == CASE || op == DEFAULT || op == ENDINIT || op == SKIP;
}

bool control(int op) {
    return op == BRANCH || op == CBRANCH || op == SWITCH || op == RETURN || op == URETURN || op == LOOP ||
           op == ENDLOOP;
}

} // namespace

CHECKER::MACHINE_CLASS CHECKER::machine_class(uint32_t t) const {
    t = types.unqualified(t);
    for (int steps = 0; types.facts(t).kind == TK_ENUM && steps < 8; steps++)
        t = types.unqualified(types.facts(t).part);
    const TYPE_FACTS& f = types.facts(t);
    if (types.is_integral(t)) return {'i', f.size, types.is_signed(t), 0};
    if (types.is_float(t)) return {'f', f.size, true, 0};
    if (types.pointee(t) != 0) return {'p', f.size, false, 0};
    if (f.kind == TK_CSU) return {'s', f.size, false, t};
    if (f.kind == TK_ARRAY) return {'a', f.size, false, 0};
    if (f.kind == TK_VOID) return {'v', 0, false, 0};
    return {'-', f.kind, false, t};
}

void CHECKER::need(bool holds, const TREE& t, int n, const char* what) {
    if (!holds) fault(opcode_word(t[n].op) + ": " + what);
}

// No recursion: nodes wait with the role that they play for their parent.
void CHECKER::tree(const TREE& t, ROLE root) {
    struct WAITING {
        int n;
        ROLE role;
    };
    std::vector<WAITING> stack{{t.root, root}};
    const bool prolog = root == STATEMENT && prolog_possible && is_prolog(t);
    while (!stack.empty()) {
        const auto [n, role] = stack.back();
        stack.pop_back();
        const ENODE& e = t[n];
        node(t, n, role);
        ROLE left = VALUE, right = VALUE;
        switch (e.op) {
        case BRANCH:
        case DEFAULT: left = LABEL_REF; break;
        case CBRANCH:
        case CASE:
        case LOOP:
        case ENDLOOP: right = LABEL_REF; break;
        case SWITCH: right = LIST; break;
        case CALL: right = LIST; break;
        case MEMCPY:
        case ICALL:
        case MCALL: left = LIST; break;
        case COMMA: left = right = LIST; break;
        case PCOMMA: left = right = role == STATEMENT ? STATEMENT : VALUE; break;
        case STDOT:
        case STREF: right = MEMBER; break;
        case QUEST: right = ARMS; break;
        case UAND: left = ADDRESS; break;
        case RETURN:
        case URETURN: left = ADDRESS; break;
        case ASG:
        case STASG:
        case SCONV:
        case PCONV:
            if (prolog) right = left = PARAMETER;
            break;
        default: break;
        }
        if (e.right >= 0) stack.push_back({e.right, right});
        if (e.left >= 0) stack.push_back({e.left, left});
    }
}

void CHECKER::node(const TREE& t, int n, ROLE role) {
    const ENODE& e = t[n];
    if (!has_entry(e.op)) return fault("opcode " + std::to_string(e.op) + " does not belong into a file");
    if (e.type != 0 && !types.defined(e.type))
        return fault(opcode_word(e.op) + ": type " + std::to_string(e.type) + " is not defined");
    if (e.type == 0 && !typeless(e.op)) return need(false, t, n, "it has no type");
    need((e.op == LABEL) == (role == LABEL_REF), t, n,
         role == LABEL_REF ? "a label must stand here" : "a label must not stand here");
    need((e.op == FIELD) == (role == MEMBER), t, n,
         role == MEMBER ? "a member must stand here" : "a member must not stand here");
    need((e.op == COLON) == (role == ARMS), t, n,
         role == ARMS ? "two arms must stand here" : "arms must not stand here");
    need(e.op != COMMA || role == LIST, t, n, "a list must not stand here");
    need(!control(e.op) || role == STATEMENT, t, n, "it must be a statement of its own");
    need((e.op != CASE && e.op != DEFAULT) || role == LIST, t, n, "it stands outside of a switch");
    need(e.op != SKIP && e.op != ENDINIT, t, n, "it belongs into initialisers");
    if (e.op == LABEL) labels_used[e.f[0]]++;
    if (e.op == NAME)
        name(t, n, role);
    else
        operands(t, n);
}

void CHECKER::name(const TREE& t, int n, ROLE role) {
    const ENODE& e = t[n];
    const SCOPE::PLACE place{e.f[0], e.f[1]};
    const std::string* text = scope.name_of(place);
    if (text == nullptr) return need(false, t, n, "there is no such symbol (yet)");
    if (place.scope == 0) {
        const bool function = types.facts(types.unqualified(scope.type_of(place))).kind == TK_FUNCTION;
        if (function && role != ADDRESS)
            fault("function " + *text + " is named but neither called nor is its address taken");
        return;
    }
    const SCOPE::LOCAL& l = scope.locals[place.index];
    if (l.depth != 1) return;
    if (l.sclass == 27) {
        if (role != ADDRESS) fault("the variadic area " + *text + " is used otherwise than by its address");
    } else if (role != PARAMETER && types.is_scalar(l.type)) {
        fault("parameter " + *text + " is used outside of the prolog");
    }
}

// Assignments of parameters to locals of their names, joined by PCOMMA or COMMAOP.
bool CHECKER::is_prolog(const TREE& t) const {
    std::vector<int> parts{t.root};
    while (!parts.empty()) {
        const int n = parts.back();
        parts.pop_back();
        const ENODE& e = t[n];
        if (e.op == PCOMMA || e.op == COMMAOP) {
            parts.push_back(e.left);
            parts.push_back(e.right);
            continue;
        }
        if (e.op != ASG && e.op != STASG) return false;
        int from = e.right;
        while (t[from].op == SCONV || t[from].op == PCONV) from = t[from].left;
        const ENODE &to = t[e.left], &parameter = t[from];
        if (to.op != NAME || parameter.op != NAME) return false;
        const std::string* to_name = scope.name_of({to.f[0], to.f[1]});
        const std::string* from_name = scope.name_of({parameter.f[0], parameter.f[1]});
        if (to_name == nullptr || from_name == nullptr || *to_name != *from_name) return false;
        if (to.f[0] == 0 || parameter.f[0] == 0 || scope.locals[parameter.f[1]].depth != 1) return false;
    }
    return true;
}

bool CHECKER::lvalue(const TREE& t, int n) const {
    for (;;) {
        const ENODE& e = t[n];
        if (e.op == NAME) return types.facts(types.unqualified(e.type)).kind != TK_FUNCTION;
        if (e.op == UMULT || e.op == STREF) return true;
        if (e.op == STDOT)
            n = e.left;
        else if (e.op == COMMAOP)
            n = e.right;
        else
            return opcode_is_call(e.op); // a member of a call's result
    }
}

bool CHECKER::bit_field(const TREE& t, int n) const {
    const ENODE& e = t[n];
    if (e.op != STDOT && e.op != STREF) return false;
    const MEMBER_INFO* m = types.member(t[e.right].f[2], t[e.right].f[1]);
    return m != nullptr && m->bitfield;
}

// --------------------------------------------------------------------------------------------------------- operations

void CHECKER::operands(const TREE& t, int n) {
    const ENODE& e = t[n];
    const auto type_of = [&](int k) { return t[k].type; };
    const auto is_int = [&] { return machine_class(e.type) == MACHINE_CLASS{'i', 32, true, 0}; };
    switch (opcode_class(e.op)) {
    case CLASS_ARITHMETIC:
    case CLASS_UNARY: return arithmetic(t, n);
    case CLASS_SHIFT:
        need(same(e.type, type_of(e.left)), t, n, "its left operand has another type");
        need(machine_class(type_of(e.right)).kind == 'i', t, n, "its right operand is no integer");
        return;
    case CLASS_COMPARISON:
        need(is_int(), t, n, "its type is not int");
        need(same(type_of(e.left), type_of(e.right)), t, n, "its operands have different types");
        return;
    case CLASS_ASG:
    case CLASS_OP_ASG:
    case CLASS_COPY:
    case CLASS_INCREMENT: return assignment(t, n);
    case CLASS_CALL: return call(t, n);
    default: break;
    }
    switch (e.op) {
    case ANDAND:
    case OROR: need(types.is_scalar(type_of(e.right)), t, n, "its right operand is no scalar"); [[fallthrough]];
    case EXCLAIM:
        need(is_int(), t, n, "its type is not int");
        need(types.is_scalar(type_of(e.left)), t, n, "its operand is no scalar");
        return;
    case UMULT: need(types.pointee(type_of(e.left)) != 0, t, n, "its operand is no pointer"); return;
    case UAND:
        need(t[e.left].op == NAME || lvalue(t, e.left), t, n, "its operand has no address");
        need(!bit_field(t, e.left), t, n, "a bit-field has no address");
        need(types.is_pointer(e.type), t, n, "its type is no pointer");
        return;
    case STDOT:
    case STREF: return member(t, n);
    case QUEST:
        if (t[e.right].op == COLON) {
            need(same(e.type, type_of(t[e.right].left)) && same(e.type, type_of(t[e.right].right)), t, n,
                 "an arm has another type");
        }
        need(types.is_scalar(type_of(e.left)), t, n, "its condition is no scalar");
        return;
    case CBRANCH: need(types.is_scalar(type_of(e.left)), t, n, "its condition is no scalar"); return;
    case SWITCH: return switch_list(t, n);
    case RETURN:
    case URETURN: {
        const ENODE& f = t[e.left];
        need(f.op == NAME && f.f[0] == 0 && static_cast<int64_t>(f.f[1]) == scope.function, t, n,
             "it does not name its function");
        if (e.op == RETURN) need(same(e.type, type_of(e.right)), t, n, "the value has another type");
        return;
    }
    case SCONV:
        need(!types.is_pointer(e.type), t, n, "a pointer results from pconv");
        need(types.is_scalar(type_of(e.left)) || types.element(type_of(e.left)) != 0, t, n, "its operand is no scalar");
        return;
    case PCONV: need(types.is_pointer(e.type) || types.element(e.type) != 0, t, n, "its type is no pointer"); return;
    case PMCONV:
    case PVCONV:
        need(t[e.right].op == ICON && t[e.right].f[0] % 16 == 0 && t[e.right].f[0] != 0, t, n,
             "its right operand is no constant that is a multiple of 16");
        need(machine_class(type_of(e.left)).kind == 'i', t, n, "its left operand is no integer");
        return;
    case STARG: need(types.is_csu(e.type), t, n, "its type is no struct or union"); return;
    case ICON:
    case LCON: return constant(t, n);
    case FCON: need(types.is_float(e.type), t, n, "its type is no floating type"); return;
    default: return;
    }
}

void CHECKER::constant(const TREE& t, int n) {
    const ENODE& e = t[n];
    const MACHINE_CLASS c = machine_class(e.type);
    need(c.kind == 'i' && types.is_integral(e.type), t, n, "its type is no integer");
    if (e.op != ICON || c.kind != 'i' || c.size >= 32) return;
    if (c.size == 0) return need(false, t, n, "its type has no size");
    const int64_t v = c.sign ? static_cast<int64_t>(static_cast<int32_t>(e.f[0])) : static_cast<int64_t>(e.f[0]);
    const int64_t low = c.sign ? -(1LL << (c.size - 1)) : 0,
                  high = c.sign ? (1LL << (c.size - 1)) - 1 : (1LL << c.size) - 1;
    need(v >= low && v <= high, t, n, "the value does not fit its type");
}

void CHECKER::arithmetic(const TREE& t, int n) {
    const ENODE& e = t[n];
    const MACHINE_CLASS c = machine_class(e.type);
    const uint32_t left = t[e.left].type, right = e.right >= 0 ? t[e.right].type : left;
    const bool pointers = types.is_pointer(left) || types.is_pointer(right);
    if (pointers && (e.op == PLUS || e.op == MINUS)) {
        if (c.kind == 'p') {
            const bool left_is_base = types.is_pointer(left);
            need((left_is_base || e.op == PLUS) && pointer_wide_integer(left_is_base ? right : left), t, n,
                 "beside a pointer an integer of pointer width must stand");
        } else {
            need(e.op == MINUS && types.is_pointer(left) && types.is_pointer(right) && pointer_wide_integer(e.type), t,
                 n, "a difference of pointers is an integer of pointer width");
        }
        return;
    }
    const bool bitwise = e.op == ANDB || e.op == ORB || e.op == XORB || e.op == NOTB || e.op == MOD;
    need(c.kind == 'i' || (c.kind == 'f' && !bitwise), t, n, "its type is none that it can have");
    need(same(e.type, left) && same(e.type, right), t, n, "an operand has another type than the result");
}

void CHECKER::assignment(const TREE& t, int n) {
    const ENODE& e = t[n];
    const MACHINE_CLASS left = machine_class(t[e.left].type), right = machine_class(t[e.right].type);
    need(lvalue(t, e.left), t, n, "its left side is no object");
    switch (e.op) {
    case ASG:
        need(types.is_scalar(t[e.left].type), t, n, "its left side is no scalar");
        need(left == right, t, n, "the value has another type than the object");
        return;
    case STASG: need(left.kind == 's' && left == right, t, n, "its sides are not of one struct type"); return;
    case ARASG: need(left.kind == 'a' && left == right, t, n, "its sides are not of one array type"); return;
    case PLUSPLUS:
    case MINMIN:
        need(t[e.right].op == ICON, t, n, "its step is no constant");
        need(left.kind == 'i' || left.kind == 'p', t, n, "its left side is no integer or pointer");
        return;
    case SLLASG:
    case SRLASG: need(left.kind == 'i' && right.kind == 'i', t, n, "its sides are not integers"); return;
    default: break;
    }
    if (left.kind == 'p') {
        need((e.op == PLUSASG || e.op == MINUSASG) && pointer_wide_integer(t[e.right].type), t, n,
             "beside a pointer an integer of pointer width must stand");
        return;
    }
    const bool bitwise = e.op == ANDBASG || e.op == ORBASG || e.op == XORBASG || e.op == MODASG;
    need(left.kind == right.kind && (left.kind == 'i' || (left.kind == 'f' && !bitwise)), t, n,
         "its sides are not both integers or both floating");
}

void CHECKER::member(const TREE& t, int n) {
    const ENODE& e = t[n];
    const ENODE& f = t[e.right];
    if (f.op != FIELD) return;
    need(f.f[0] == 1, t, n, "the member's kind is not 1");
    const MEMBER_INFO* m = types.member(f.f[2], f.f[1]);
    need(m != nullptr, t, n, "the struct has no such member");
    uint32_t object = t[e.left].type;
    if (e.op == STREF) object = types.pointee(object);
    const TYPE_FACTS &have = types.facts(types.unqualified(object)), &want = types.facts(f.f[2]);
    need(have.kind == TK_CSU &&
             (types.unqualified(object) == f.f[2] || (have.name == want.name && have.size == want.size)),
         t, n, "the object is not of the member's struct");
    if (e.op == STDOT) need(lvalue(t, e.left), t, n, "its left side is no object");
    if (m != nullptr) need(same(e.type, m->type), t, n, "its type is not that of the member");
}

void CHECKER::call(const TREE& t, int n) {
    const ENODE& e = t[n];
    const uint32_t f = types.function_of(t[e.left].type);
    if (f == 0) return need(false, t, n, "what is called is no function");
    const TYPE_FACTS& facts = types.facts(f);
    std::vector<int> arguments;
    if (e.op == CALL) {
        int k = e.right;
        for (; t[k].op == COMMA; k = t[k].left) arguments.push_back(t[k].right);
        arguments.push_back(k);
        std::reverse(arguments.begin(), arguments.end());
        const size_t extra = facts.vararg && facts.proto && arguments.size() > facts.params.size()
                                 ? arguments.size() - facts.params.size()
                                 : 0;
        need(e.f[0] == extra, t, n, "its count of extra arguments is wrong");
    }
    if (facts.proto) {
        need(arguments.size() >= facts.params.size(), t, n, "it has too few arguments");
        need(facts.vararg || arguments.size() <= facts.params.size(), t, n, "it has too many arguments");
        for (size_t i = 0; i < arguments.size() && i < facts.params.size(); i++)
            need(same(t[arguments[i]].type, facts.params[i]), t, n, "an argument has another type than its parameter");
    }
    if (types.facts(types.unqualified(facts.part)).kind != TK_VOID)
        need(same(e.type, facts.part), t, n, "its type is not what the function returns");
}

void CHECKER::switch_list(const TREE& t, int n) {
    const ENODE& e = t[n];
    need(machine_class(t[e.left].type).kind == 'i', t, n, "its selector is no integer");
    std::set<std::string> values;
    uint32_t cases = 0;
    int k = e.right;
    bool last = true;
    for (;;) {
        const int cell = t[k].op == COMMA ? t[k].right : k;
        if (t[cell].op == CASE) {
            const ENODE& v = t[t[cell].left];
            need(v.op == ICON || v.op == LCON, t, n, "the value of a case is no constant");
            const std::string text = v.op == LCON              ? v.text
                                     : types.is_signed(v.type) ? std::to_string(static_cast<int32_t>(v.f[0]))
                                                               : std::to_string(v.f[0]);
            need(values.insert(text).second, t, n, "two cases have one value");
            cases++;
        } else {
            need(t[cell].op == DEFAULT, t, n, "its list holds something else than cases");
            need(last, t, n, "the default is not the last of its list");
        }
        last = false;
        if (t[k].op != COMMA) break;
        k = t[k].left;
    }
    need(cases > 0, t, n, "it has no case");
    need(cases == e.f[0], t, n, "its count of cases is wrong");
}

} // namespace nxtext
