// FUNCTION_GEN: calls and builtins.
//
// A call puts its arguments into consecutive slots, which become the first slots of the callee's frame: the fixed
// arguments in order, then the address of the variadic area (if the callee has one), then the address for a struct
// result. The result comes back in the first of them.
#include "gen.h"

#include <algorithm>

std::vector<NODE*> FUNCTION_GEN::list_items(NODE* list) {
    // The chain leans to the left; a right operand that is a list again is flattened as well.
    std::vector<NODE*> items, work{list};
    while (!work.empty()) {
        NODE* n = work.back();
        work.pop_back();
        if (n->op == COMMA) {
            work.push_back(operand(n, true));
            work.push_back(operand(n));
        } else {
            items.push_back(n);
        }
    }
    return items;
}

// What a call through a pointer passes: by the pointer's type, or by the arguments where it has no prototype.
SIGNATURE FUNCTION_GEN::signature_of_site(NODE* n, const std::vector<NODE*>& args) {
    SIGNATURE s;
    s.result = kind_of(n->type);
    if (s.result == V_BLOCK) s.result_units = units_of(n->type);
    if (s.result == V_BAD || s.result == V_FUNC) fail("call with a result of a type that is not supported");
    const TYPE* pointer = operand(n)->type;
    const TYPE* type = nullptr;
    if (pointer != nullptr && pointer->is_ptr()) {
        const TYPE* to = pointer->descriptor->part;
        if (to != nullptr && to->is_func()) type = to->descriptor;
    } else if (pointer != nullptr && pointer->is_func()) {
        type = pointer->descriptor;
    }
    size_t fixed = args.size();
    const FUNC_PART* f = type != nullptr ? type->func.get() : nullptr;
    if (f != nullptr && f->proto) {
        s.variadic = f->vararg;
        fixed = f->params.size();
        if (args.size() < fixed || (args.size() > fixed && !s.variadic))
            fail("call with " + std::to_string(args.size()) + " arguments of a function that takes " +
                 std::to_string(fixed));
    } else if (uint32_t extra = n->op == CALL ? n->call_num_vargs() : 0; extra != 0) {
        if (extra > args.size()) fail("call with more extra arguments than arguments");
        s.variadic = true;
        fixed -= extra;
    }
    for (size_t i = 0; i < fixed; ++i) {
        const TYPE* t = f != nullptr && f->proto ? f->params[i].type : args[i]->type;
        VKIND k = kind_of(t);
        if (k == V_BLOCK && t->is_array()) k = V_UW;
        if (k == V_FUNC) k = V_UW;
        if (!is_scalar_kind(k) && k != V_BLOCK) fail("argument of a type that is not supported");
        s.params.push_back(k);
        s.param_units.push_back(k == V_BLOCK ? units_of(t) : 0);
    }
    return s;
}

void FUNCTION_GEN::argument_to(NODE* n, VKIND k, uint32_t units, int slot) {
    if (k != V_BLOCK) {
        if (kind_of(n->type) == V_BLOCK && !n->type->is_array() && n->op != ARGREF)
            fail("struct passed where a scalar is taken");
        if (n->op == ARGREF && k == V_UW) {
            move_to(value(n, slot), slot);
            return;
        }
        value_to(n, k, slot);
        return;
    }
    if (kind_of(n->type) != V_BLOCK || units_of(n->type) != units)
        fail("struct argument of another size than is taken");
    count_node();
    PLACE from = place_of_object(n);
    PLACE copy;
    copy.base = PLACE::FRAME;
    copy.offset = new_frame_object(units);
    copy_block(copy, from, units);
    move_to(address_value(copy, slot), slot);
}

// The variadic area: each argument at a multiple of 32 bits.
uint32_t FUNCTION_GEN::pass_extras(const std::vector<NODE*>& args, size_t first) {
    uint32_t units = 0;
    for (size_t i = first; i < args.size(); ++i) {
        VKIND k = kind_of(args[i]->type);
        if (k == V_BLOCK && args[i]->type->is_array()) k = V_UW;
        units += (std::max<uint32_t>(k == V_BLOCK ? block_units(args[i]->type) : 2,
                                     is_scalar_kind(k) ? units_of_kind(k) : 2) +
                  1) &
                 ~1u;
    }
    uint32_t area = new_frame_object(units);
    uint32_t at = area;
    for (size_t i = first; i < args.size(); ++i) {
        int keep = top_;
        NODE* n = args[i];
        VKIND k = kind_of(n->type);
        PLACE to;
        to.base = PLACE::FRAME;
        to.offset = at;
        if (k == V_BLOCK && !n->type->is_array()) {
            copy_block(to, place_of_object(n), units_of(n->type));
            at += (units_of(n->type) + 1) & ~1u;
        } else {
            LVALUE lv;
            lv.place = to;
            lv.counted = false; // passing an argument is part of the call
            VALUE v = value(n);
            if (!is_scalar_kind(v.kind)) fail("argument of a type that is not supported");
            if (units_of_kind(v.kind) == 1) v = convert(v, V_W);
            lv.kind = v.kind;
            lv.units = units_of_kind(v.kind);
            store(lv, v);
            at += lv.units;
        }
        top_ = keep;
    }
    return area;
}

VALUE FUNCTION_GEN::call(NODE* n, int want) {
    if (kind_of(n->type) == V_BLOCK) return address_value(call_block(n), want);
    return call_into(n, want, 0);
}

// `area`: place in the frame for a struct result.
VALUE FUNCTION_GEN::call_into(NODE* n, int want, uint32_t area) {
    NODE* callee = operand(n);
    std::vector<NODE*> args;
    if (n->op == CALL) args = list_items(operand(n, true));
    FUNCTION* direct = nullptr;
    if (callee->op == UAND && operand(callee)->op == NAME && callee->left->u.sym != nullptr &&
        callee->left->u.sym->level == 0)
        direct = unit_.function_at(callee->left->u.sym);
    VKIND result = kind_of(n->type);
    bool known = direct != nullptr && (direct->defined || direct->handler != nullptr);
    if (direct != nullptr && !known) {
        for (NODE* a : args) {
            int keep = top_;
            effect(a);
            top_ = keep;
        }
        return stop("call of undefined function '" + direct->name + "'");
    }
    SIGNATURE s = known ? direct->signature : signature_of_site(n, args);
    if (known) {
        if (args.size() < s.params.size() || (args.size() > s.params.size() && !s.variadic))
            return stop("call of '" + direct->name + "' with " + std::to_string(args.size()) +
                        " arguments instead of " + std::to_string(s.params.size()));
        if ((result == V_BLOCK) != (s.result == V_BLOCK) || (result == V_BLOCK && units_of(n->type) != s.result_units))
            return stop("call of '" + direct->name + "' with another result type");
    }
    int base = top_;
    for (size_t i = 0; i < s.params.size(); ++i) {
        int slot = new_slot();
        argument_to(args[i], s.params[i], s.param_units[i], slot);
        top_ = slot + 1;
    }
    if (s.variadic) {
        int slot = new_slot();
        PLACE extras;
        extras.base = PLACE::FRAME;
        extras.offset = pass_extras(args, s.params.size());
        move_to(address_value(extras, slot), slot);
        top_ = slot + 1;
    }
    if (s.result == V_BLOCK) {
        int slot = new_slot();
        PLACE to;
        to.base = PLACE::FRAME;
        to.offset = area;
        move_to(address_value(to, slot), slot);
    }
    if (top_ == base) new_slot(); // for the result
    count(C_calls);
    if (known) {
        BYTECODE op = direct->defined ? B_CALL_F : B_CALL_LIB;
        emit(op, base).x = static_cast<int32_t>((direct->address - MEMORY::function_base) / MEMORY::function_step);
    } else {
        VALUE at = in_slot(pointer_value(callee));
        emit(B_CALL_PTR, base, at.slot).x = static_cast<int32_t>(unit_.signature_number(s));
    }
    close_block(); // the callee may end the run
    top_ = base + 1;
    if (s.result == V_VOID) return result == V_VOID ? VALUE{} : VALUE::of(0, result);
    VALUE v = VALUE::in(base, s.result);
    if (result == V_VOID || s.result == V_BLOCK) return v;
    if (!known && is_integer_kind(result) && units_of_kind(result) <= 2) {
        // The function may be declared with the other signedness where it is defined.
        int to = want != no_slot ? want : base;
        static_assert(B_TO_UW - B_TO_H == 3);
        emit_op(B_TO_H + (result - V_H), to, base, 0);
        return VALUE::in(to, result);
    }
    return coerced(v, result, n, want);
}

// A call with a struct result: the place of the result, a temporary of this statement.
PLACE FUNCTION_GEN::call_block(NODE* n) {
    int keep = top_;
    uint32_t area = new_frame_object(block_units(n->type));
    call_into(n, no_slot, area);
    top_ = keep;
    PLACE p;
    p.base = PLACE::FRAME;
    p.offset = area;
    return p;
}

VALUE FUNCTION_GEN::stop(const std::string& why) {
    emit(B_STOP).x = static_cast<int32_t>(unit_.text_number(why));
    return VALUE::of(0, V_W);
}

VALUE FUNCTION_GEN::builtin(NODE* n, int want) {
    std::string name = n->icall_name() != nullptr ? n->icall_name() : "";
    std::vector<NODE*> args;
    if (n->op == ICALL || n->op == MCALL) args = list_items(operand(n));
    count(C_calls);
    if (name == "_never_executed") return stop("statement reached that is said never to be executed");
    if (name == "__sqc" && args.size() == 3) { // all three are evaluated
        VKIND k = scalar_kind(n);
        VALUE test = in_slot(convert(value(args[0]), V_W, no_slot, true));
        VALUE yes = in_slot(coerced(value(args[1]), k, n));
        VALUE no = in_slot(coerced(value(args[2]), k, n));
        int to = want != no_slot ? want : new_slot();
        uint32_t otherwise = new_label(), end = new_label();
        jump(B_JZ, test.slot, 0, 0, otherwise, false);
        move_to(yes, to);
        jump(B_JMP, 0, 0, 0, end, false);
        bind(otherwise);
        emit(B_MOV, to, no.slot);
        bind(end);
        return VALUE::in(to, k);
    }
    if (name == "__mswapf" && args.size() == 2) {
        for (NODE* a : args)
            if (a->op != ARGREF || !is_float_kind(kind_of(a->type))) fail("__mswapf of what is no float");
        if (kind_of(args[0]->type) != kind_of(args[1]->type)) fail("__mswapf of floats of different types");
        VALUE a = in_slot(value(args[0]));
        VALUE b = in_slot(value(args[1]));
        emit_imm(B_SWAP, a.slot, b.slot, units_of_kind(kind_of(args[0]->type)));
        return VALUE::of(0, V_VOID);
    }
    return stop("builtin '" + name + "' is not supported");
}
