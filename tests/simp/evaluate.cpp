#include "evaluate.h"

#include "ir/opt_expr.h"

#include <bit>
#include <bitset>
#include <cmath>
#include <cstdlib>
#include <cstring>

// ------------------------------------------------------------------------------------------------------------ values

int64_t cut(int64_t v, KIND k) {
    switch (k) {
    case K_B: return v & 0xFFFF;
    case K_H: return static_cast<int16_t>(v);
    case K_UH: return static_cast<uint16_t>(v);
    case K_W: return static_cast<int32_t>(v);
    case K_UW:
    case K_P: return static_cast<uint32_t>(v);
    default: return v;
    }
}

namespace {

// Toward zero; what does not fit is cut to the nearest limit.
int64_t int_of_double(double v, KIND k, bool* out_of_range) {
    unsigned width = bits_of_kind(k);
    bool is_signed = is_signed_int(k);
    double low = is_signed ? -std::ldexp(1.0, static_cast<int>(width) - 1) : 0;
    double above = std::ldexp(1.0, static_cast<int>(width) - (is_signed ? 1 : 0));
    double whole = std::trunc(v);
    bool fits = whole >= low && whole < above; // false for NaN
    if (!fits && out_of_range != nullptr) *out_of_range = true;
    if (std::isnan(v)) return 0;
    if (whole < low) return is_signed ? cut(static_cast<int64_t>(uint64_t{1} << (width - 1)), k) : 0;
    if (whole >= above) {
        uint64_t ones = ~uint64_t{0} >> (64 - width + (is_signed ? 1 : 0));
        return static_cast<int64_t>(ones);
    }
    return is_signed ? static_cast<int64_t>(whole) : static_cast<int64_t>(static_cast<uint64_t>(whole));
}

bool truth(DATUM v, KIND k) { return is_float_kind_of(k) ? v.f != 0 : v.i != 0; }

} // namespace

DATUM convert_value(DATUM v, KIND from, KIND to, bool* out_of_range) {
    DATUM r;
    if (from == to) return v;
    if (to == K_B) {
        r.i = truth(v, from);
        return r;
    }
    if (is_float_kind_of(from)) {
        if (to == K_D)
            r.f = v.f;
        else if (to == K_F)
            r.f = static_cast<double>(static_cast<float>(v.f));
        else
            r.i = int_of_double(v.f, to, out_of_range);
        return r;
    }
    if (to == K_D || to == K_F) {
        bool big = from == K_UL;
        if (to == K_D)
            r.f = big ? static_cast<double>(static_cast<uint64_t>(v.i)) : static_cast<double>(v.i);
        else
            r.f = static_cast<double>(big ? static_cast<float>(static_cast<uint64_t>(v.i)) : static_cast<float>(v.i));
        return r;
    }
    r.i = cut(v.i, to);
    return r;
}

bool values_agree(DATUM a, DATUM b, KIND k) {
    if (!is_float_kind_of(k)) return a.i == b.i;
    if (std::isnan(a.f) || std::isnan(b.f)) return std::isnan(a.f) && std::isnan(b.f);
    return std::bit_cast<uint64_t>(a.f) == std::bit_cast<uint64_t>(b.f);
}

std::string value_text(DATUM v, KIND k) {
    char text[64];
    if (is_float_kind_of(k))
        snprintf(text, sizeof text, "%a", v.f);
    else if (k == K_UL)
        snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(v.i));
    else
        snprintf(text, sizeof text, "%lld", static_cast<long long>(v.i));
    return text;
}

namespace {

uint64_t get_units(const IMAGE& m, uint32_t unit, uint32_t n) {
    uint64_t v = 0;
    for (uint32_t i = 0; i < n; i++) v |= uint64_t{m[unit + i]} << (16 * i);
    return v;
}
void set_units(IMAGE& m, uint32_t unit, uint32_t n, uint64_t v) {
    for (uint32_t i = 0; i < n; i++) m[unit + i] = static_cast<uint16_t>(v >> (16 * i));
}

DATUM value_of_bits(uint64_t bits, KIND k) {
    DATUM v;
    if (k == K_D)
        v.f = std::bit_cast<double>(bits);
    else if (k == K_F)
        v.f = static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(bits)));
    else
        v.i = cut(static_cast<int64_t>(bits), k);
    return v;
}
uint64_t bits_of_value(DATUM v, KIND k) {
    if (k == K_D) return std::bit_cast<uint64_t>(v.f);
    if (k == K_F) return std::bit_cast<uint32_t>(static_cast<float>(v.f));
    return static_cast<uint64_t>(v.i);
}

} // namespace

DATUM get_variable(const IMAGE& m, int variable) {
    const VARIABLE& v = world.variables[static_cast<size_t>(variable)];
    return value_of_bits(get_units(m, v.at - first_address, v.units), v.kind);
}
void set_variable(IMAGE& m, int variable, DATUM value) {
    const VARIABLE& v = world.variables[static_cast<size_t>(variable)];
    set_units(m, v.at - first_address, v.units, bits_of_value(value, v.kind));
}

// ------------------------------------------------------------------------------------------------------- compilation

CODE::CODE(const NODE* tree) { root_ = add(tree); }

// What the machine below has an answer for, leaves and calls aside.
static const std::bitset<256>& evaluable_ops() {
    static const std::bitset<256> set = [] {
        std::bitset<256> ops;
        for (int op : {COLON,    COMMA,   STDOT,  STREF,   UAND,    UMULT,  PLUS,    MINUS,   MULT,   DIV,      MOD,
                       ANDB,     ORB,     XORB,   SLL,     SRL,     UMINUS, NOTB,    ABS,     SQR,    SQRT,     EXCLAIM,
                       ANDAND,   OROR,    QUEST,  COMMAOP, SCONV,   PCONV,  ACONV,   PMCONV,  PVCONV, ASG,      PLUSASG,
                       MINUSASG, MULTASG, DIVASG, MODASG,  ANDBASG, ORBASG, XORBASG, SLLASG,  SRLASG, PLUSPLUS, MINMIN,
                       STASG,    MEMCPY,  IF,     BRANCH,  SWITCH,  CASE,   DEFAULT, NASSERT, EQ,     NEQ,      LE,
                       LT,       GE,      GT,     ULE,     ULT,     UGE,    UGT})
            ops.set(static_cast<size_t>(op));
        return ops;
    }();
    return set;
}

int CODE::add(const NODE* n) {
    if (n == nullptr) return -1;
    EN e;
    e.op = n->op;
    e.kind = kind_of_type(n->type);
    e.marked = (n->flags & NODE_NO_WRAP) != 0;
    e.is_volatile = n->type != nullptr && n->type->is_volatile();
    e.width = bits_of_kind(e.kind);
    e.is_signed = is_signed_int(e.kind);
    switch (n->op) {
    case NAME:
        if (!is_world_variable(n->u.sym)) {
            size_t number = 0;
            while (number < temporaries_.size() && temporaries_[number] != n->u.sym) number++;
            if (number == temporaries_.size()) temporaries_.push_back(n->u.sym);
            if (n->type->is_func() || e.kind == K_BLOCK || number >= (memory_units - temporaries_at) / 4)
                unsupported_ = std::string("a name that the tree did not have: ") + n->u.sym->name;
            e.imm = first_address + temporaries_at + static_cast<uint32_t>(number) * 4;
            break;
        }
        e.imm = world.variables[n->u.sym->word[1]].at;
        variables_ |= uint64_t{1} << n->u.sym->word[1];
        break;
    case ICON: e.imm = cut(n->u.lval.to_i64(), e.kind); break;
    case FCON: e.f = strtod(const_cast<NODE*>(n)->fcon_value(), nullptr); break;
    case LABEL: e.imm = n->u.lval.to_i64(); break;
    case FIELD:
        e.imm = n->mval->bit_offset;
        e.is_bitfield = n->mval->is_bitfield;
        e.width = n->mval->bit_size;
        break;
    case CALL:
    case UCALL: {
        const NODE* callee = n->left;
        if (callee->op != UAND || callee->left->op != NAME ||
            (callee->left->u.sym != world.function && callee->left->u.sym != world.getter)) {
            unsupported_ = "a call that the tree did not have";
            break;
        }
        e.imm = callee->left->u.sym == world.function;
        e.left = -1;
        nodes_.reserve(nodes_.size() + 1);
        e.right = n->op == CALL ? add(n->right) : -1;
        nodes_.push_back(e);
        return static_cast<int>(nodes_.size()) - 1;
    }
    default:
        if (!evaluable_ops().test(static_cast<size_t>(n->op & 255)))
            unsupported_ = std::string("opcode ") + opname(n->op);
    }
    if (!unsupported_.empty()) return -1;
    e.left = add(n->left);
    e.right = add(n->right);
    nodes_.push_back(e);
    return static_cast<int>(nodes_.size()) - 1;
}

std::vector<int64_t> CODE::constants() const {
    std::vector<int64_t> all;
    for (const EN& e : nodes_)
        if (e.op == ICON) all.push_back(e.imm);
    return all;
}

// --------------------------------------------------------------------------------------------------------- evaluation

namespace {

struct PLACE {
    uint32_t at = 0;  // address
    unsigned bit = 0; // first bit from there
    unsigned width = 0;
    bool is_volatile = false;
    bool is_bitfield = false;
};

struct STOP {
    const char* why;
};

uint64_t mix(uint64_t a, uint64_t b) { return RANDOM(a * 0x100000001B3 + b).next(); }

int64_t int_operation(int op, int64_t a, int64_t b, KIND k) {
    auto u = [](int64_t v) { return static_cast<uint64_t>(v); };
    unsigned width = bits_of_kind(k);
    bool is_signed = is_signed_int(k);
    switch (op) {
    case PLUS: return cut(static_cast<int64_t>(u(a) + u(b)), k);
    case MINUS: return cut(static_cast<int64_t>(u(a) - u(b)), k);
    case MULT: return cut(static_cast<int64_t>(u(a) * u(b)), k);
    case ANDB: return a & b;
    case ORB: return a | b;
    case XORB: return a ^ b;
    case DIV:
        if (b == 0) throw STOP{"division by zero"};
        if (!is_signed) return static_cast<int64_t>(u(a) / u(b));
        return b == -1 ? cut(static_cast<int64_t>(0 - u(a)), k) : a / b;
    case MOD:
        if (b == 0) throw STOP{"division by zero"};
        if (!is_signed) return static_cast<int64_t>(u(a) % u(b));
        return b == -1 ? 0 : a % b;
    case SLL: return u(b) >= width ? 0 : cut(static_cast<int64_t>(u(a) << b), k);
    default: // SRL
        if (u(b) >= width) return is_signed && a < 0 ? -1 : 0;
        return is_signed ? a >> b : static_cast<int64_t>(u(a) >> b);
    }
}

// Whether the result in unbounded integers lies outside the kind, which is signed.
bool overflows(int op, int64_t a, int64_t b, KIND k) {
    int64_t r = 0;
    bool beyond = op == PLUS    ? __builtin_add_overflow(a, b, &r)
                  : op == MINUS ? __builtin_sub_overflow(a, b, &r)
                                : __builtin_mul_overflow(a, b, &r);
    return beyond || cut(r, k) != r;
}

double float_operation(int op, double a, double b, KIND k) {
    double r;
    if (k == K_F) {
        float x = static_cast<float>(a), y = static_cast<float>(b);
        r = static_cast<double>(op == PLUS ? x + y : op == MINUS ? x - y : op == MULT ? x * y : x / y);
    } else {
        r = op == PLUS ? a + b : op == MINUS ? a - b : op == MULT ? a * b : a / b;
    }
    return r;
}

template <typename T> bool relation(int op, T a, T b) {
    switch (op) {
    case EQ: return a == b;
    case NEQ: return a != b;
    case LE:
    case ULE: return a <= b;
    case LT:
    case ULT: return a < b;
    case GE:
    case UGE: return a >= b;
    default: return a > b;
    }
}

} // namespace

class MACHINE {
  public:
    MACHINE(const CODE& code, IMAGE& memory, uint64_t salt, bool original, OUTCOME& out)
        : code_(code), memory_(memory), salt_(salt), original_(original), out_(out) {}

    DATUM value(int at) {
        const CODE::EN& e = node(at);
        DATUM r;
        switch (e.op) {
        case ICON: r.i = e.imm; return r;
        case FCON: r.f = e.f; return r;
        case NAME:
        case UMULT:
        case STDOT:
        case STREF: {
            PLACE p = place(at);
            if (e.kind == K_BLOCK) {
                r.i = p.at;
                return r;
            }
            return load(p, e.kind);
        }
        case UAND: r.i = place(e.left).at; return r;
        case PLUS:
        case MINUS:
            if (e.kind == K_P || node(e.left).kind == K_P) return pointer_sum(e);
            [[fallthrough]];
        case MULT:
        case DIV:
        case MOD:
        case ANDB:
        case ORB:
        case XORB: {
            DATUM a = value_as(e.left, e.kind);
            DATUM b = value_as(e.right, e.kind);
            return operate(e.op, a, b, e.kind, e.marked);
        }
        case SLL:
        case SRL: {
            DATUM a = value_as(e.left, e.kind);
            r.i = int_operation(e.op, a.i, value(e.right).i, e.kind);
            return r;
        }
        case UMINUS: {
            DATUM a = value_as(e.left, e.kind);
            if (is_float_kind_of(e.kind)) {
                r.f = -a.f;
                return r;
            }
            return operate(MINUS, DATUM{}, a, e.kind, e.marked);
        }
        case NOTB: r.i = cut(~value_as(e.left, e.kind).i, e.kind); return r;
        case ABS: {
            DATUM a = value_as(e.left, e.kind);
            if (is_float_kind_of(e.kind))
                r.f = std::fabs(a.f);
            else
                r.i = is_signed_int(e.kind) && a.i < 0 ? int_operation(MINUS, 0, a.i, e.kind) : a.i;
            return r;
        }
        case SQR: {
            DATUM a = value_as(e.left, e.kind);
            return operate(MULT, a, a, e.kind, e.marked);
        }
        case SQRT: {
            DATUM a = value_as(e.left, e.kind);
            r.f = e.kind == K_F ? static_cast<double>(std::sqrt(static_cast<float>(a.f))) : std::sqrt(a.f);
            return r;
        }
        case EXCLAIM: r.i = !truth_of(e.left); return r;
        case ANDAND: r.i = truth_of(e.left) && truth_of(e.right); return r;
        case OROR: r.i = truth_of(e.left) || truth_of(e.right); return r;
        case QUEST: {
            const CODE::EN& arms = node(e.right);
            int arm = truth_of(e.left) ? arms.left : arms.right;
            if (e.kind == K_NONE) {
                value(arm);
                return r;
            }
            return value_as(arm, e.kind);
        }
        case COMMAOP: value(e.left); return value(e.right);
        case SCONV:
        case PCONV:
        case ACONV: return value_as(e.left, e.kind, true);
        case PMCONV:
        case PVCONV: {
            KIND k = e.kind == K_P ? K_W : e.kind;
            DATUM a = value_as(e.left, k);
            r.i = int_operation(e.op == PMCONV ? MULT : DIV, a.i, node(e.right).imm / 16, k);
            return r;
        }
        case ASG: {
            KIND k = node(e.left).kind;
            DATUM v = value_as(e.right, k);
            PLACE p = place(e.left);
            return store(p, v, k);
        }
        case PLUSPLUS:
        case MINMIN: {
            KIND k = node(e.left).kind;
            DATUM step = value(e.right);
            PLACE p = place(e.left);
            DATUM old = load(p, k);
            r.i = int_operation(e.op == PLUSPLUS ? PLUS : MINUS, old.i, step.i, k);
            check_pointer(r, k);
            store(p, r, k);
            return old;
        }
        case STASG: {
            uint32_t from = place(e.right).at, to = place(e.left).at;
            uint32_t units = world.record_type->size() / 16;
            check_access(from, units);
            check_access(to, units);
            memmove(&memory_[to - first_address], &memory_[from - first_address], units * 2);
            r.i = to;
            return r;
        }
        case MEMCPY: {
            const CODE::EN& list = node(e.left);
            const CODE::EN& ends = node(list.left);
            uint32_t to = static_cast<uint32_t>(value(ends.left).i), from = static_cast<uint32_t>(value(ends.right).i);
            uint32_t units = static_cast<uint32_t>(value(list.right).i);
            if (units != 0) {
                check_access(from, units);
                check_access(to, units);
                if (to != from && to < from + units && from < to + units) throw STOP{"overlapping copy"};
                memmove(&memory_[to - first_address], &memory_[from - first_address], units * 2);
            }
            r.i = to;
            return r;
        }
        case CALL:
        case UCALL: return call(e);
        case NASSERT:
            if (!truth_of(e.left)) {
                if (original_) throw STOP{"assertion that does not hold"};
                out_.asserted = false;
            }
            return r;
        case SWITCH: return label_taken(e);
        case IF: r.i = node(truth_of(e.left) ? node(e.right).left : node(e.right).right).imm; return r;
        case BRANCH: r.i = node(e.left).imm; return r;
        default:
            if (opcode_is_comparison(e.op)) return compare(e);
            if (opcode_is_op_assignment(e.op)) return assign_operation(e);
            throw STOP{"an operator without value where one is wanted"};
        }
    }

  private:
    const CODE& code_;
    IMAGE& memory_;
    uint64_t salt_;
    bool original_;
    OUTCOME& out_;

    const CODE::EN& node(int at) const {
        if (at < 0) throw STOP{"an operand is missing"};
        return code_.nodes_[static_cast<size_t>(at)];
    }

    DATUM converted(DATUM v, KIND from, KIND to) {
        bool out_of_range = false;
        DATUM r = convert_value(v, from, to, &out_of_range);
        if (out_of_range && original_) throw STOP{"floating value out of the integer's range"};
        return r;
    }
    DATUM value_as(int at, KIND to, bool = false) {
        DATUM v = value(at);
        KIND from = node(at).kind;
        if (from == K_BLOCK) from = K_P; // an array stands for its address
        if (!is_scalar(from)) throw STOP{"an operand has no value"};
        return converted(v, from, to);
    }
    bool truth_of(int at) { return truth(value(at), node(at).kind); }

    DATUM operate(int op, DATUM a, DATUM b, KIND k, bool marked) {
        DATUM r;
        if (is_float_kind_of(k)) {
            r.f = float_operation(op, a.f, b.f, k);
            return r;
        }
        if (marked && is_signed_int(k) && (op == PLUS || op == MINUS || op == MULT) && overflows(op, a.i, b.i, k))
            throw STOP{"marked node overflows"};
        r.i = int_operation(op, a.i, b.i, k);
        return r;
    }

    DATUM label_taken(const CODE::EN& e) {
        DATUM selector = value(e.left), r;
        for (int at = e.right;; at = node(at).left) {
            const CODE::EN& item = node(at).op == COMMA ? node(node(at).right) : node(at);
            if (item.op == DEFAULT)
                r.i = node(item.left).imm;
            else if (cut(node(item.left).imm, node(e.left).kind) == selector.i) {
                r.i = node(item.right).imm;
                return r;
            }
            if (node(at).op != COMMA) return r;
        }
    }

    DATUM pointer_sum(const CODE::EN& e) {
        DATUM a = value(e.left), b = value(e.right), r;
        r.i = cut(wrapped_sum(a.i, e.op == PLUS ? b.i : wrapped_negative(b.i)), e.kind);
        check_pointer(r, e.kind);
        return r;
    }
    // In the source a pointer stays in its object or just behind it, so that it never wraps.
    void check_pointer(DATUM v, KIND k) {
        if (k == K_P && original_ && (v.i < first_address || v.i > first_address + memory_units))
            throw STOP{"pointer outside every object"};
    }

    DATUM compare(const CODE::EN& e) {
        DATUM a = value(e.left), b = value(e.right), r;
        KIND ka = node(e.left).kind, kb = node(e.right).kind;
        if (ka == K_BLOCK) ka = K_P;
        if (kb == K_BLOCK) kb = K_P;
        KIND k = ka == kb ? ka : combined_kind(ka, kb);
        a = converted(a, ka, k);
        b = converted(b, kb, k);
        if (is_float_kind_of(k))
            r.i = relation(e.op, a.f, b.f);
        else if (k == K_UL || opcode_is_unsigned_comparison(e.op)) {
            uint64_t mask = ~uint64_t{0} >> (64 - bits_of_kind(k));
            r.i = relation(e.op, static_cast<uint64_t>(a.i) & mask, static_cast<uint64_t>(b.i) & mask);
        } else
            r.i = relation(e.op, a.i, b.i);
        return r;
    }

    DATUM assign_operation(const CODE::EN& e) {
        int op = op_of_opASG[e.op];
        KIND k = node(e.left).kind;
        DATUM b = value(e.right);
        KIND kb = node(e.right).kind;
        PLACE p = place(e.left);
        DATUM a = load(p, k), r;
        if (k == K_P) {
            r.i = cut(wrapped_sum(a.i, op == PLUS ? b.i : wrapped_negative(b.i)), k);
            check_pointer(r, k);
        } else if (opcode_is_shift(op)) {
            KIND t = promoted_kind(k);
            r.i = int_operation(op, converted(a, k, t).i, b.i, t);
            r = converted(r, t, k);
        } else {
            KIND t = combined_kind(k, kb);
            r = converted(operate(op, converted(a, k, t), converted(b, kb, t), t, e.marked), t, k);
        }
        return store(p, r, k);
    }

    // What a call gives is a function of its arguments; it also changes the global that calls change and the array.
    DATUM call(const CODE::EN& e) {
        std::vector<uint64_t> entry{call_event + static_cast<uint64_t>(e.imm)};
        // The list leans to the left; arguments are evaluated in order.
        std::vector<int> items;
        int at = e.right;
        for (; at >= 0 && node(at).op == COMMA; at = node(at).left) items.push_back(node(at).right);
        if (at >= 0) items.push_back(at);
        for (size_t i = items.size(); i-- != 0;) entry.push_back(static_cast<uint64_t>(value_as(items[i], K_W).i));
        out_.trace.insert(out_.trace.end(), entry.begin(), entry.end());
        uint32_t hash = static_cast<uint32_t>(salt_ + entry[0]);
        for (size_t i = 1; i < entry.size(); i++) hash ^= static_cast<uint32_t>(entry[i]) * call_factor(i);
        DATUM result, changed;
        result.i = hash >> 31 != 0 ? static_cast<int32_t>(hash) : static_cast<int32_t>(hash & 7);
        changed.i = static_cast<int32_t>(hash * 5 + 1);
        set_variable(memory_, world.changed_by_calls, changed);
        memory_[world.variables[static_cast<size_t>(world.ints)].at - first_address + 2] ^= static_cast<uint16_t>(hash);
        return result;
    }

    // ------------------------------------------------------------------------------------------------------- memory

    PLACE place(int at) {
        const CODE::EN& e = node(at);
        PLACE p;
        switch (e.op) {
        case NAME: p.at = static_cast<uint32_t>(e.imm); break;
        case UMULT:
            if (node(e.left).kind != K_P && node(e.left).kind != K_BLOCK) throw STOP{"dereference of no pointer"};
            p.at = static_cast<uint32_t>(value(e.left).i);
            break;
        case STDOT:
        case STREF: {
            p = e.op == STDOT ? place(e.left) : PLACE{static_cast<uint32_t>(value(e.left).i), 0, 0, false, false};
            const CODE::EN& field = node(e.right);
            p.at += static_cast<uint32_t>(field.imm) / 16;
            p.bit = static_cast<unsigned>(field.imm) % 16;
            p.is_bitfield = field.is_bitfield;
            p.width = field.width;
            p.is_volatile = e.is_volatile;
            if (!p.is_bitfield) p.width = e.width;
            return p;
        }
        case COMMAOP: value(e.left); return place(e.right);
        case PCONV:
        case PLUS: // an array's address where the array itself is meant
        case ASG:
        case STASG: p.at = static_cast<uint32_t>(value(at).i); break;
        default: throw STOP{"an operand is no lvalue"};
        }
        p.width = e.width;
        p.is_volatile = e.is_volatile;
        return p;
    }

    void check_access(uint32_t at, uint32_t units) const {
        uint32_t first = at - first_address;
        if (at < first_address || first + units > memory_units) throw STOP{"access outside every object"};
        for (uint32_t i = 0; i < units; i++)
            if (world.owner[first + i] == 0 || world.owner[first + i] != world.owner[first])
                throw STOP{"access outside every object"};
    }

    DATUM load(const PLACE& p, KIND k) {
        uint32_t units = (p.bit + p.width + 15) / 16;
        check_access(p.at, units);
        if (p.is_volatile) {
            uint64_t seed = mix(salt_ + out_.trace.size(), p.at);
            out_.trace.push_back(read_event + p.at);
            RANDOM random(seed);
            return value_of_bits(static_cast<uint64_t>(special_value(random, k)), k);
        }
        if (!p.is_bitfield) return value_of_bits(get_units(memory_, p.at - first_address, units), k);
        return extracted(p, k);
    }
    DATUM extracted(const PLACE& p, KIND k) const {
        uint64_t bits = get_units(memory_, p.at - first_address, (p.bit + p.width + 15) / 16) >> p.bit;
        bits <<= 64 - p.width;
        DATUM v;
        v.i = is_signed_int(k) ? static_cast<int64_t>(bits) >> (64 - p.width)
                               : static_cast<int64_t>(bits >> (64 - p.width));
        return v;
    }

    DATUM store(const PLACE& p, DATUM v, KIND k) {
        uint32_t units = (p.bit + p.width + 15) / 16;
        check_access(p.at, units);
        if (p.is_volatile) {
            out_.trace.push_back(write_event + p.at);
            out_.trace.push_back(bits_of_value(v, k));
        }
        if (!p.is_bitfield) {
            set_units(memory_, p.at - first_address, units, bits_of_value(v, k));
            return v;
        }
        uint64_t mask = ~uint64_t{0} >> (64 - p.width);
        uint64_t old = get_units(memory_, p.at - first_address, units);
        uint64_t bits = (old & ~(mask << p.bit)) | ((static_cast<uint64_t>(v.i) & mask) << p.bit);
        set_units(memory_, p.at - first_address, units, bits);
        return extracted(p, k);
    }
};

void CODE::run(IMAGE& memory, uint64_t salt, bool original, OUTCOME& out) const {
    out.undefined = nullptr;
    out.trace.clear();
    out.asserted = true;
    try {
        out.value = MACHINE(*this, memory, salt, original, out).value(root_);
    } catch (const STOP& stop) { out.undefined = stop.why; }
}
