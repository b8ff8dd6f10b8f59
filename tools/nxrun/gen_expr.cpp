// FUNCTION_GEN: values of expressions.
#include "gen.h"

#include <bit>
#include <cstdlib>

namespace {

// Index of an integer kind in a family of five operations.
int five(VKIND k) { return k == V_UL ? 4 : k - V_H; }
// Of the families of signed operations: H, W, L.
int three(VKIND k) { return k == V_H ? 0 : k == V_W ? 1 : 2; }

// Relations in the order of the operations, unsigned ones last.
int relation_index(int op) {
    switch (op) {
    case EQ: return 0;
    case NEQ: return 1;
    case LT: return 2;
    case LE: return 3;
    case GT: return 4;
    case GE: return 5;
    case ULT: return 6;
    case ULE: return 7;
    case UGT: return 8;
    default: return 9; // UGE
    }
}

bool fits_32(int64_t v) { return v >= INT32_MIN && v <= INT32_MAX; }

} // namespace

// ------------------------------------------------------------------------------------------------------- conversions

VALUE FUNCTION_GEN::in_slot(VALUE v) {
    if (!v.constant) return v;
    int to = new_slot();
    emit_imm(B_MOVI, to, 0, v.imm);
    return VALUE::in(to, v.kind);
}

void FUNCTION_GEN::move_to(VALUE v, int slot) {
    if (v.constant)
        emit_imm(B_MOVI, slot, 0, v.imm);
    else if (v.slot != slot)
        emit(B_MOV, slot, v.slot);
}

VALUE FUNCTION_GEN::convert(VALUE v, VKIND to, int want, bool to_bool) {
    if (!is_scalar_kind(v.kind) || !is_scalar_kind(to)) fail("conversion of what is no scalar");
    auto target = [&] { return want != no_slot ? want : new_slot(); };
    if (to_bool) {
        if (is_float_kind(v.kind)) {
            int t = target();
            emit_op(v.kind == V_F ? B_FTRUE_F : B_FTRUE_D, t, in_slot(v).slot, 0);
            return VALUE::in(t, to);
        }
        if (v.constant) return VALUE::of(v.imm != 0, to);
        int t = target();
        emit(B_TO_BOOL, t, v.slot);
        return VALUE::in(t, to);
    }
    if (v.kind == to) return v;
    // A floating value that does not fit is reported when it is met.
    bool may_not_fit = is_float_kind(v.kind) && is_integer_kind(to);
    if (v.constant && !may_not_fit) return VALUE::of(converted_constant(v.imm, v.kind, to), to);
    v = in_slot(v);
    auto with = [&](int op) {
        int t = target();
        emit_op(op, t, v.slot, 0);
        return VALUE::in(t, to);
    };
    if (is_float_kind(v.kind)) {
        if (to == V_D) return with(B_F_TO_D);
        if (to == V_F) return with(B_D_TO_F);
        int index = to - V_H; // H UH W UW L UL
        return with((v.kind == V_F ? B_F_TO_H : B_D_TO_H) + index);
    }
    bool big = v.kind == V_UL;
    if (to == V_D) return with(big ? B_UL_TO_D : B_L_TO_D);
    if (to == V_F) return with(big ? B_UL_TO_F : B_L_TO_F);
    // To 64 bits the value stays as it stands; to a kind that holds every value of the source as well.
    bool keeps =
        to == V_L || to == V_UL || (v.kind == V_H && to == V_W) || (v.kind == V_UH && (to == V_W || to == V_UW));
    if (keeps) return VALUE::in(v.slot, to);
    return with(B_TO_H + five(to));
}

VALUE FUNCTION_GEN::coerced(VALUE v, VKIND to, const NODE* at, int want) {
    if (v.kind == to) return v;
    unit_.mismatch(where(), std::string("operand of ") + opname(at->op) + " is of another type than it must be");
    return convert(v, to, want);
}

void FUNCTION_GEN::value_to(NODE* n, VKIND k, int slot) {
    VALUE v = value(n, kind_of(n->type) == k ? slot : no_slot);
    move_to(coerced(v, k, n, slot), slot);
}

VALUE FUNCTION_GEN::conversion(NODE* n, int want) {
    VKIND to = scalar_kind(n);
    NODE* from_node = operand(n);
    VKIND from_kind = kind_of(from_node->type);
    if (from_kind == V_BLOCK && !from_node->type->is_array()) fail("conversion of a struct");
    if (from_kind == V_FUNC || from_kind == V_BLOCK) from_kind = V_UW; // its address
    bool to_bool = n->type->is_bool() && !from_node->type->is_bool();
    bool same = from_kind == to && !to_bool;
    VALUE v = value(from_node, same ? want : no_slot);
    // Between integers of one size nothing changes in the machine.
    bool represents = is_integer_kind(v.kind) && is_integer_kind(to) && units_of_kind(v.kind) == units_of_kind(to);
    if (!represents && v.kind != to) count(C_conv);
    return convert(v, to, want, to_bool);
}

// PMCONV: index times size. PVCONV: difference by size. The constant counts bits.
VALUE FUNCTION_GEN::scaled(NODE* n, int want) {
    VKIND k = scalar_kind(n);
    NODE* size = operand(n, true);
    if (!is_integer_kind(k) || size->op != ICON) fail(std::string(opname(n->op)) + " without a constant size");
    int64_t bits = size->u.lval.to_i64();
    if (bits % 16 != 0 || (bits == 0 && n->op == PVCONV))
        fail(std::string(opname(n->op)) + " by a size that is no multiple of 16");
    int64_t units = bits / 16;
    VALUE v = value(operand(n));
    if (is_float_kind(v.kind)) fail(std::string(opname(n->op)) + " of a floating value");
    v = convert(v, k);
    if (units == 1) return v;
    count(C_ialu);
    return operate(n->op == PMCONV ? MULT : DIV, k, v, VALUE::of(units, k), want);
}

// ------------------------------------------------------------------------------------------------------- arithmetic

// An operation on constants is left to the run: the compiler of the file folded what it wanted folded.
VALUE FUNCTION_GEN::operate_float(int op, VKIND k, VALUE a, VALUE b, int want) {
    a = in_slot(a);
    b = in_slot(b);
    int base;
    switch (op) {
    case PLUS: base = B_FADD_F; break;
    case MINUS: base = B_FSUB_F; break;
    case MULT: base = B_FMUL_F; break;
    case DIV: base = B_FDIV_F; break;
    default: fail(std::string(opname(op)) + " of floating values");
    }
    int to = want != no_slot ? want : new_slot();
    emit_op(base + (k == V_D), to, a.slot, b.slot);
    return VALUE::in(to, k);
}

VALUE FUNCTION_GEN::operate(int op, VKIND k, VALUE a, VALUE b, int want) {
    if (is_float_kind(k)) return operate_float(op, k, a, b, want);
    a = in_slot(a);
    bool constant = b.constant;
    auto target = [&] { return want != no_slot ? want : new_slot(); };
    auto family = [&](int rr, int ri) { // register form, constant form
        int to = target();
        if (constant)
            emit_imm(ri, to, a.slot, b.imm);
        else
            emit_op(rr, to, a.slot, b.slot);
        return VALUE::in(to, k);
    };
    auto registers = [&](int code) {
        b = in_slot(b);
        int to = target();
        emit_op(code, to, a.slot, b.slot);
        return VALUE::in(to, k);
    };
    bool traps = unit_.options.trap_overflow && is_signed_kind(k);
    switch (op) {
    case PLUS: return traps ? registers(B_ADDT_H + three(k)) : family(B_ADD_RR_H + five(k), B_ADD_RI_H + five(k));
    case MINUS: return traps ? registers(B_SUBT_H + three(k)) : family(B_SUB_RR_H + five(k), B_SUB_RI_H + five(k));
    case MULT: return traps ? registers(B_MULT_H + three(k)) : family(B_MUL_RR_H + five(k), B_MUL_RI_H + five(k));
    case SLL: return family(B_SHL_RR_H + five(k), B_SHL_RI_H + five(k));
    case SRL: return k == V_UL ? family(B_SHR_UL_RR, B_SHR_UL_RI) : family(B_SHR_S_RR, B_SHR_S_RI);
    case ANDB: return family(B_AND_RR, B_AND_RI);
    case ORB: return family(B_OR_RR, B_OR_RI);
    case XORB: return family(B_XOR_RR, B_XOR_RI);
    case DIV:
    case MOD: {
        int index = k == V_UL ? 4 : is_signed_kind(k) ? three(k) : 3;
        return registers((op == DIV ? B_DIV_H : B_MOD_H) + index);
    }
    default: fail(std::string(opname(op)) + " is no arithmetic operation");
    }
}

// A quotient that makes a count of elements of the distance of two pointers: address arithmetic, as PVCONV is.
bool FUNCTION_GEN::is_distance_scaling(const NODE* n) const {
    return n->op == DIV && n->right->op == ICON && n->left->op == MINUS && n->left->left != nullptr &&
           n->left->left->type != nullptr && n->left->left->type->is_ptr();
}

void FUNCTION_GEN::count_operation(int op, VKIND k, const NODE* n) {
    if (is_float_kind(k)) {
        count(C_fop);
        return;
    }
    switch (op) {
    case MULT: count(C_imul); break;
    case DIV:
    case MOD: count(n != nullptr && is_distance_scaling(n) ? C_ialu : C_idiv); break;
    default: count(C_ialu);
    }
}

VALUE FUNCTION_GEN::arithmetic(NODE* n, int want) {
    VKIND k = scalar_kind(n);
    NODE* left = operand(n);
    NODE* right = operand(n, true);
    bool is_shift = opcode_is_shift(n->op);
    bool is_pointer = n->type->is_ptr() || n->type->is_ref();
    // Sums that one address instruction computes.
    if (is_pointer && is_address_sum(n) && (right->op == ICON || right->op == PMCONV || right->op == MULT))
        return address_value(place_of_sum(n), want);
    VALUE a = value(left);
    VALUE b = value(right);
    count_operation(n->op, k, n);
    if (is_pointer || kind_of(left->type) == V_UW) {
        // Pointer arithmetic is modulo 2^32: any integer may be added as it stands.
        bool pointers = left->type->is_ptr() || right->type->is_ptr();
        if (pointers && (n->op == PLUS || n->op == MINUS) && is_integer_kind(k)) {
            if (is_float_kind(a.kind) || is_float_kind(b.kind)) fail("floating value in pointer arithmetic");
            bool traps = unit_.options.trap_overflow && is_signed_kind(k);
            if (traps) { // the distance of two pointers wraps
                VALUE d = operate(n->op, V_UW, a, b, no_slot);
                return convert(d, k, want);
            }
            return operate(n->op, k, a, b, want);
        }
    }
    a = coerced(a, k, n);
    if (is_shift) {
        if (!is_integer_kind(b.kind)) fail("shift by a floating value");
    } else {
        b = coerced(b, k, n);
    }
    return operate(n->op, k, a, b, want);
}

VALUE FUNCTION_GEN::unary(NODE* n, int want) {
    VKIND k = scalar_kind(n);
    VALUE a = in_slot(coerced(value(operand(n)), k, n));
    if (is_float_kind(k) || n->op == SQRT) {
        if (!is_float_kind(k)) fail("SQRT of an integer");
        count(C_fop);
    } else {
        count(n->op == SQR ? C_imul : C_ialu);
    }
    auto target = [&] { return want != no_slot ? want : new_slot(); };
    auto simple = [&](int op) {
        int to = target();
        emit_op(op, to, a.slot, 0);
        return VALUE::in(to, k);
    };
    bool d = k == V_D;
    switch (n->op) {
    case UMINUS:
        if (is_float_kind(k)) return simple(B_FNEG_F + d);
        if (unit_.options.trap_overflow && is_signed_kind(k)) return operate(MINUS, k, VALUE::of(0, k), a, want);
        return simple(B_NEG_H + five(k));
    case NOTB:
        if (is_float_kind(k)) fail("complement of a floating value");
        return simple(k == V_UH ? B_NOT_UH : k == V_UW ? B_NOT_UW : B_NOT_S);
    case ABS:
        if (is_float_kind(k)) return simple(B_FABS_F + d);
        return is_signed_kind(k) ? simple(B_ABS_H + three(k)) : a;
    case SQR: return operate(MULT, k, a, a, want);
    case SQRT: return simple(B_FSQRT_F + d);
    default: { // RECIP
        if (!is_float_kind(k)) fail("RECIP of an integer");
        int64_t one = d ? std::bit_cast<int64_t>(1.0) : int64_t{std::bit_cast<uint32_t>(1.0f)};
        return operate_float(DIV, k, VALUE::of(one, k), a, want);
    }
    }
}

// -------------------------------------------------------------------------------------------- relations and choices

bool FUNCTION_GEN::unify_for_comparison(int& op, VALUE& a, VALUE& b, const NODE* n) {
    VKIND k = combined(a.kind, b.kind);
    if (a.kind != b.kind)
        unit_.mismatch(where(), std::string("operands of ") + opname(n->op) + " are of different types");
    else
        k = a.kind;
    if (is_float_kind(k)) {
        if (opcode_is_unsigned_comparison(op)) op = op == ULE ? LE : op == ULT ? LT : op == UGE ? GE : GT;
        a = in_slot(convert(a, k));
        b = in_slot(convert(b, k));
        return true;
    }
    if (opcode_is_unsigned_comparison(op) && is_signed_kind(k)) k = static_cast<VKIND>(k + 1); // the bit patterns
    a = convert(a, k);
    b = convert(b, k);
    // Slots hold mathematical values: only unsigned 64-bit ones need a comparison of their own.
    if (opcode_is_unsigned_comparison(op) && k != V_UL) op = op == ULE ? LE : op == ULT ? LT : op == UGE ? GE : GT;
    if (!opcode_is_unsigned_comparison(op) && k == V_UL && op != EQ && op != NEQ)
        op = op == LE ? ULE : op == LT ? ULT : op == GE ? UGE : UGT;
    return false;
}

VALUE FUNCTION_GEN::compare(int op, VALUE a, VALUE b, int want, const NODE* n) {
    auto target = [&] { return want != no_slot ? want : new_slot(); };
    if (unify_for_comparison(op, a, b, n)) {
        int to = target();
        emit_op(B_FEQ_F + 2 * relation_index(op) + (a.kind == V_D), to, a.slot, b.slot);
        return VALUE::in(to, V_W);
    }
    a = in_slot(a);
    int to = target();
    if (b.constant)
        emit_imm(B_EQ_RI + relation_index(op), to, a.slot, b.imm);
    else
        emit_op(B_EQ_RR + relation_index(op), to, a.slot, b.slot);
    return VALUE::in(to, V_W);
}

VALUE FUNCTION_GEN::relation(NODE* n, int want) {
    VKIND k = scalar_kind(n);
    VALUE a = value(operand(n));
    VALUE b = value(operand(n, true));
    count(C_cmp);
    VALUE r = compare(n->op, a, b, k == V_W ? want : no_slot, n);
    return coerced(r, k, n, want);
}

// Jumps to `target` if the relation's truth is `when`.
void FUNCTION_GEN::relation_jump(NODE* n, bool when, uint32_t target) {
    VALUE a = value(operand(n));
    VALUE b = value(operand(n, true));
    count(C_cmp);
    count(C_br_total);
    int op = n->op;
    if (unify_for_comparison(op, a, b, n)) {
        int to = new_slot();
        emit_op(B_FEQ_F + 2 * relation_index(op) + (a.kind == V_D), to, a.slot, b.slot);
        jump(when ? B_JNZ : B_JZ, to, 0, 0, target, true);
        return;
    }
    if (!when) op = boolean_inv[op];
    a = in_slot(a);
    if (b.constant && fits_32(b.imm)) {
        jump(static_cast<BYTECODE>(B_JEQ_RI + relation_index(op)), a.slot, 0, static_cast<int32_t>(b.imm), target,
             true);
    } else {
        b = in_slot(b);
        jump(static_cast<BYTECODE>(B_JEQ_RR + relation_index(op)), a.slot, b.slot, 0, target, true);
    }
}

// One conditional jump a test: ANDAND, OROR and EXCLAIM are tests of their operands.
void FUNCTION_GEN::condition(NODE* n, bool when, uint32_t target) {
    if (++depth_ > max_depth) fail("condition nests too deeply");
    int keep = top_;
    switch (n->op) {
    case EXCLAIM:
        count_node();
        condition(operand(n), !when, target);
        break;
    case ANDAND:
    case OROR: {
        count_node();
        bool stop_at = n->op == OROR; // the left operand's truth that decides
        if (when == stop_at) {
            condition(operand(n), when, target);
            condition(operand(n, true), when, target);
        } else {
            uint32_t skip = new_label();
            condition(operand(n), stop_at, skip);
            condition(operand(n, true), when, target);
            bind(skip);
        }
        break;
    }
    default: {
        if (opcode_is_comparison(n->op)) {
            count_node();
            relation_jump(n, when, target);
            break;
        }
        VALUE v = value(n);
        count(C_br_total);
        if (is_float_kind(v.kind)) {
            int to = new_slot();
            emit_op(v.kind == V_F ? B_FTRUE_F : B_FTRUE_D, to, in_slot(v).slot, 0);
            v = VALUE::in(to, V_W);
        } else if (!is_integer_kind(v.kind)) {
            fail("condition that is no scalar");
        }
        if (v.constant) {
            if ((v.imm != 0) == when) jump(B_JMP, 0, 0, 0, target, true);
        } else {
            jump(when ? B_JNZ : B_JZ, v.slot, 0, 0, target, true);
        }
    }
    }
    top_ = keep;
    --depth_;
}

VALUE FUNCTION_GEN::truth_value(NODE* n, int want) {
    VKIND k = scalar_kind(n);
    int to = want != no_slot ? want : new_slot();
    uint32_t no = new_label(), end = new_label();
    bool is_and = n->op == ANDAND;
    // The left operand alone is a branch; the right one only becomes a value.
    condition(operand(n), !is_and, no);
    int keep = top_;
    VALUE v = value(operand(n, true));
    if (!is_scalar_kind(v.kind)) fail("truth of what is no scalar");
    move_to(convert(v, k, to, true), to);
    top_ = keep;
    jump(B_JMP, 0, 0, 0, end, false);
    bind(no);
    emit_imm(B_MOVI, to, 0, is_and ? 0 : 1);
    bind(end);
    return VALUE::in(to, k);
}

VALUE FUNCTION_GEN::choice(NODE* n, int want) {
    VKIND k = kind_of(n->type);
    NODE* arms = operand(n, true);
    if (arms->op != COLON) fail("? without its two arms");
    if (k == V_BLOCK) return address_value(place_of_choice(n), want);
    bool is_void = k == V_VOID;
    if (!is_void) scalar_kind(n);
    int to = is_void ? no_slot : want != no_slot ? want : new_slot();
    uint32_t otherwise = new_label(), end = new_label();
    int keep = top_;
    condition(operand(n), false, otherwise);
    for (int arm = 0; arm < 2; ++arm) {
        NODE* a = operand(arms, arm == 1);
        if (is_void)
            effect(a);
        else
            value_to(a, k, to);
        top_ = keep;
        if (arm == 0) {
            jump(B_JMP, 0, 0, 0, end, false);
            bind(otherwise);
        }
    }
    bind(end);
    return is_void ? VALUE{} : VALUE::in(to, k);
}

// ------------------------------------------------------------------------------------------------------ assignments

VALUE FUNCTION_GEN::assign(NODE* n, bool used, int want) {
    NODE* left = operand(n);
    NODE* right = operand(n, true);
    VKIND k = kind_of(left->type);
    if (!is_scalar_kind(k)) fail("= to what is no scalar");
    // A local of the value's own kind takes it directly.
    if (left->op == NAME && left->u.sym != nullptr && left->u.sym->level != 0) {
        LOCAL* local = local_of(left);
        if (local->where == LOCAL::IN_SLOT && local->kind == k) {
            count_node();
            value_to(right, k, local->slot);
            if (!used) return {};
            return local->hazard == statement_number_ ? read_local(*local) : VALUE::in(local->slot, k);
        }
    }
    VALUE v = coerced(value(right), k, n);
    LVALUE lv = lvalue(left);
    if (v.constant) v = in_slot(v);
    store(lv, v);
    return used ? stored_bits(lv, v, want) : VALUE{};
}

VALUE FUNCTION_GEN::op_assign(NODE* n, bool used, int want) {
    int op = op_of_opASG[n->op];
    NODE* left = operand(n);
    NODE* right = operand(n, true);
    VKIND k = kind_of(left->type);
    if (!is_scalar_kind(k)) fail(std::string(opname(n->op)) + " to what is no scalar");
    bool is_shift = opcode_is_shift(op);
    VALUE r = value(right);
    VKIND rk = r.kind;
    if (!is_scalar_kind(rk)) fail(std::string(opname(n->op)) + " of what is no scalar");
    VKIND t = left->type->is_ptr() ? k : is_shift ? promoted(k) : combined(k, rk);
    if (is_float_kind(t) && (is_shift || op == ANDB || op == ORB || op == XORB || op == MOD))
        fail(std::string(opname(n->op)) + " of floating values");
    if (left->type->is_ptr()) {
        if (is_float_kind(rk)) fail("floating value in pointer arithmetic");
    } else if (!is_shift) {
        r = convert(r, t);
    } else if (!is_integer_kind(rk)) {
        fail("shift by a floating value");
    }
    LVALUE lv = lvalue(left);
    if (lv.local != nullptr && lv.kind == lv.local->kind) {
        LOCAL& local = *lv.local;
        VALUE old = read_local(local);
        count_operation(op, t, n);
        if (t == k) {
            operate(op, t, old, r, local.slot);
        } else {
            VALUE result = operate(op, t, convert(old, t), r, no_slot);
            move_to(convert(result, k, local.slot, left->type->is_bool()), local.slot);
        }
        return used ? read_local(local) : VALUE{};
    }
    VALUE old = convert(load(lv), t);
    count_operation(op, t, n);
    VALUE result = convert(operate(op, t, old, r, no_slot), k, no_slot, left->type->is_bool());
    store(lv, result);
    return used ? stored_bits(lv, result, want) : VALUE{};
}

VALUE FUNCTION_GEN::post_step(NODE* n, bool used, int want) {
    NODE* left = operand(n);
    NODE* step = operand(n, true);
    VKIND k = kind_of(left->type);
    if (!is_scalar_kind(k) || step->op != ICON) fail(std::string(opname(n->op)) + " without a constant step");
    int op = n->op == PLUSPLUS ? PLUS : MINUS;
    count_node();
    VALUE by = VALUE::of(converted_constant(step->u.lval.to_i64(), V_L, k), k);
    LVALUE lv = lvalue(left);
    count_operation(op, k, nullptr);
    if (lv.local != nullptr && lv.kind == lv.local->kind) {
        LOCAL& local = *lv.local;
        VALUE old = read_local(local);
        if (used && old.slot == local.slot) {
            int kept = want != no_slot && want != local.slot ? want : new_slot();
            emit(B_MOV, kept, local.slot);
            old = VALUE::in(kept, k);
        }
        operate(op, k, old, by, local.slot);
        return used ? old : VALUE{};
    }
    VALUE old = load(lv);
    if (used && lv.local != nullptr) {
        int kept = new_slot();
        emit(B_MOV, kept, old.slot);
        old = VALUE::in(kept, old.kind);
    }
    store(lv, operate(op, k, old, by, no_slot));
    return used ? old : VALUE{};
}

// ----------------------------------------------------------------------------------------------------- the dispatch

VALUE FUNCTION_GEN::constant_value(const NODE* n) {
    VKIND k = scalar_kind(n);
    switch (n->op) {
    case FCON: {
        if (!is_float_kind(k)) fail("floating constant of another type");
        double d = strtod(const_cast<NODE*>(n)->fcon_value(), nullptr);
        return VALUE::of(k == V_F ? int64_t{std::bit_cast<uint32_t>(static_cast<float>(d))} : std::bit_cast<int64_t>(d),
                         k);
    }
    case SCON:
        if (k != V_UW) fail("string constant of another type than pointer");
        return VALUE::of(unit_.text_address(n->scon_value(), n->scon_length()), V_UW);
    default:
        if (!is_integer_kind(k)) fail("integer constant of another type");
        return VALUE::of(normalized(n->u.lval.to_i64(), k), k);
    }
}

VALUE FUNCTION_GEN::value(NODE* n, int want) {
    if (++depth_ > max_depth) fail("expression nests too deeply");
    if (n->type == nullptr) fail(std::string(opname(n->op)) + " without type");
    if (n->op != NAME && n->op != UMULT && n->op != STDOT && n->op != STREF && n->op != EPVAL && n->op != DDNODE)
        count_node(); // lvalues count themselves
    int keep = top_;
    VALUE v = value_uncounted(n, want);
    --depth_;
    release_above(keep, v);
    return v;
}

// Gives back the slots from `keep` up but the result's, which moves down to `keep` where that costs nothing.
void FUNCTION_GEN::release_above(int keep, VALUE& v) {
    if (v.constant || v.slot < keep) {
        top_ = keep;
        return;
    }
    if (v.slot > keep && !code_.empty() && last_bound_ != code_.size() && code_.back().a == v.slot &&
        writes_slot_a[code_.back().op]) {
        code_.back().a = static_cast<uint16_t>(keep);
        v.slot = static_cast<uint16_t>(keep);
    }
    top_ = v.slot + 1;
}

VALUE FUNCTION_GEN::value_uncounted(NODE* n, int want) {
    switch (opcode_class(n->op)) {
    case CLASS_ARITHMETIC:
    case CLASS_SHIFT: return arithmetic(n, want);
    case CLASS_UNARY: return unary(n, want);
    case CLASS_COMPARISON: return relation(n, want);
    case CLASS_ASG: return assign(n, true, want);
    case CLASS_OP_ASG: return op_assign(n, true, want);
    case CLASS_COPY: return address_value(assign_block(n), want);
    case CLASS_INCREMENT: return post_step(n, true, want);
    case CLASS_CALL: return call(n, want);
    case CLASS_BUILTIN: return builtin(n, want);
    default: break;
    }
    switch (n->op) {
    case ICON:
    case LCON:
    case FCON:
    case SCON: return constant_value(n);
    case NAME:
        if (n->u.sym != nullptr && n->u.sym->level == 0 && unit_.global_of(n->u.sym).function != nullptr)
            return VALUE::of(unit_.global_of(n->u.sym).at, V_UW);
        [[fallthrough]];
    case UMULT:
    case STDOT:
    case STREF:
        // A function is its address: *f is f.
        if (n->op == UMULT && kind_of(n->type) == V_FUNC) return value(operand(n), want);
        return load(lvalue(n), want);
    case UAND:
    case ARGREF: {
        NODE* of = operand(n);
        if (kind_of(of->type) == V_FUNC || (of->op == NAME && of->u.sym != nullptr && of->u.sym->level == 0 &&
                                            unit_.global_of(of->u.sym).function != nullptr))
            return value(of, want);
        LVALUE lv = lvalue(of);
        if (lv.local != nullptr || lv.is_bits) fail("address of what has none");
        // The address of a member behind a pointer is a sum, as it is when it is written as one.
        bool is_member = of->op == STDOT || of->op == STREF;
        if (is_member && lv.place.base == PLACE::SLOT && lv.place.offset != 0) count(C_ialu);
        return address_value(lv.place, want);
    }
    case RECIP: return unary(n, want);
    case EXCLAIM: {
        VKIND k = scalar_kind(n);
        VALUE a = value(operand(n));
        count(C_cmp);
        if (!is_scalar_kind(a.kind)) fail("! of what is no scalar");
        VALUE zero = VALUE::of(0, a.kind);
        return coerced(compare(EQ, a, zero, k == V_W ? want : no_slot, n), k, n, want);
    }
    case ANDAND:
    case OROR: return truth_value(n, want);
    case QUEST: return choice(n, want);
    case SCONV:
    case PCONV:
    case ACONV: return conversion(n, want);
    case TOIEEE:
    case FRIEEE: return coerced(value(operand(n)), scalar_kind(n), n, want);
    case PMCONV:
    case PVCONV: return scaled(n, want);
    case STARG: return address_value(place_of_object(operand(n)), want);
    case COMMAOP:
        for (; n->op == COMMAOP; n = operand(n, true)) effect(operand(n));
        return value(n, want);
    case PCOMMA:
        effect(operand(n));
        effect(operand(n, true));
        return VALUE::of(0, V_W);
    case MEMCPY: return block_copy_call(n);
    case EPVAL:
    case DDNODE:
    case ASSERT: return value(operand(n), want);
    case NASSERT: effect(n); return VALUE::of(1, V_W);
    case NOP: return VALUE::of(0, V_W);
    case STFIELD:
    case VPACK:
    case VPACKM:
    case VPACK1P:
    case VFIELD:
    case VRCONV:
    case COMPLEX:
    case REAL:
    case IMAG: return stop(std::string("opcode ") + node_operator_name[n->op] + " is not supported");
    default: fail(std::string(opname(n->op)) + " (" + std::to_string(n->op) + ") where a value must stand");
    }
}
