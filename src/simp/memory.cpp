// Addresses and accesses: UAND, UMULT, STDOT, STREF, MEMCPY.
//
// Offsets of members are in bits, pointers count units of 16 bits. An access keeps its type, and with it the volatile
// mark; a pointer that is recomputed from another one gets the new access's pointer type by a PCONV. A member access
// becomes pointer arithmetic only where a constant offset is there already, so that plain p->m keeps its struct.
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/types.h"
#include "ir/vars.h"

namespace {

constexpr int unit_bits = 16;

// The member's place behind its struct's address, in units.
INT65 offset_of(const NODE* field) { return field->mval->bit_offset / unit_bits; }

bool members_may_become_offsets() { return opt_level() > 1 && !must_preserve_STDOT; }

// p + offset, as a pointer of the type
NODE* mk_offset(NODE* pointer, INT65 offset, TYPE* type, LOOP_RECORD* loop, CONTEXT* context) {
    if (offset.is_zero()) return pointer;
    return simp_node(maketree(PLUS, pointer, mk_ICON(offset, tp->ptr_int()), type, pointer->scope), loop, context);
}

// A temporary of the optimizer's for an address or a copy in the making; null outside functions.
SYMTAB* mk_temp(TYPE* type, LS* scope) {
    return currfuninfo != nullptr ? sym_temp('B', -1, type->type_qualified(), scope) : nullptr;
}

// ------------------------------------------------------------------------------------------------------------- UAND

// &*p -> (T*)p
NODE* address_of_target(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* target = tree->left;
    if (tree->op != UAND || !tree->type->is_ptr() || target->op != UMULT || target->right != nullptr) return nullptr;
    if (!target->left->type->is_ptr()) return nullptr;
    TYPE* type = tree->type;
    NODE* pointer = target->left;
    erase_node(target);
    erase_node(tree);
    return coerce_to_pointer_type(pointer, type);
}

// &p->m, &(*p).m -> (M*)p + offset; a constant pointer takes the offset up
NODE* address_in_target(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* member = tree->left;
    if (tree->op != UAND || !tree->type->is_ptr() || !members_may_become_offsets()) return nullptr;
    NODE* deref =
        member->op == STDOT && member->left->op == UMULT && member->left->right == nullptr ? member->left : nullptr;
    if (member->op != STREF && deref == nullptr) return nullptr;
    NODE* pointer = deref != nullptr ? deref->left : member->left;
    if (!pointer->type->is_ptr()) return nullptr;
    TYPE* type = tree->type;
    INT65 offset = offset_of(member->right);
    erase_node(member->right);
    if (deref != nullptr) erase_node(deref);
    erase_node(member);
    erase_node(tree);
    if (pointer->op == PCONV && pointer->left->op == ICON) {
        NODE* constant = pointer->left;
        TYPE* held = tp->ptr_int();
        constant->u.lval = truncate_to_type(icon_as(constant, held) + offset, held);
        constant->type = constant->orig_type = held;
        return coerce_to_pointer_type(pointer, type);
    }
    return mk_offset(coerce_to_pointer_type(pointer, type), offset, type, loop, context);
}

// &s.m -> &s + offset. The address of s takes the member's pointer type, so that it stands bare under the sum.
NODE* address_in_object(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* member = tree->left;
    if (tree->op != UAND || !tree->type->is_ptr() || member->op != STDOT || !members_may_become_offsets())
        return nullptr;
    NODE* object = member->left;
    if (object->op != NAME && object->op != STDOT) return nullptr;
    INT65 offset = offset_of(member->right);
    TYPE* type = tree->type;
    tree->left = object;
    erase_node(member->right);
    erase_node(member);
    return mk_offset(simp_node(tree, loop, context), offset, type, loop, context);
}

const RULE address_rules[] = {
    {"target", "&*p -> (T*)p", address_of_target},
    {"member_of_target", "&p->m -> (M*)p + C", address_in_target},
    {"member_of_object", "&s.m -> &s + C", address_in_object},
};
const RULE_SET address_set("UAND", address_rules);

// ------------------------------------------------------------------------------------------------------------ UMULT

// *(T*)a with an array a of T -> *a
NODE* access_of_array(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* pointer = tree->left;
    if (pointer->op != PCONV || !pointer->left->type->is_array() || pointer->left->type->is_vector()) return nullptr;
    if (!same_type(pointer->left->type->elem_type()->normalized(), tree->type)) return nullptr;
    tree->left = pointer->left;
    erase_node(pointer);
    return tree;
}

// *&x -> x, where the access is of x's own type. A volatile access of a plain object stays, as does the access of the
// element of an array of one.
NODE* access_of_object(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* address = tree->left;
    if (trees_are_normalized || tree->right != nullptr || (address->op != UAND && address->op != ARGREF))
        return nullptr;
    NODE* object = address->left;
    if (!opcode_is_lvalue(object->op) || object->type->is_func() || tree->type->is_func()) return nullptr;
    bool of_node = same_type(object->type, tree->type);
    bool of_symbol = object->op == NAME && object->u.sym != nullptr && same_type(object->u.sym->type, tree->type);
    if ((!of_node && !of_symbol) || (tree->type->is_volatile() && !object->type->is_volatile())) return nullptr;
    if (!of_node) {
        uint32_t quals = object->type->is_volatile() ? uint32_t{QUAL_VOLATILE} : 0;
        object->type = object->orig_type = tp->mk_qual(tree->type, quals);
    }
    erase_node(address);
    erase_node(tree);
    return object;
}

// *"text", *("text" + i): the access is of a constant
NODE* access_of_string(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    const NODE* pointer = tree->left;
    if (pointer->op == PLUS) pointer = pointer->left;
    if (pointer->op != SCON || !pointer->type->is_ptr() || tree->type->is_const() || !is_scalar_value(tree->type))
        return nullptr;
    tree->type = tp->mk_qual(tree->type, QUAL_CONST)->normalized();
    return tree;
}

const RULE access_rules[] = {
    {"array", "*(T*)a -> *a", access_of_array},
    {"object", "*&x -> x", access_of_object},
    {"string", "*\"text\" -> *\"text\", const", access_of_string},
};
const RULE_SET access_set("UMULT", access_rules);

// ----------------------------------------------------------------------------------------------------- STDOT, STREF

// (p + C)->m as *((M*)p + (C + offset)); `sum` is p + C, `object` the type accessed through it
NODE* mk_access_at_offset(NODE* tree, NODE* sum, TYPE* object, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    if (object->is_volatile()) type = tp->mk_qual(type, QUAL_VOLATILE)->normalized();
    INT65 offset = sum->right->u.lval + offset_of(tree->right);
    LS* scope = tree->scope;
    NODE* pointer = sum->left;
    erase_node(sum->right);
    erase_node(sum);
    erase_node(tree->right);
    erase_node(tree);
    TYPE* pointer_type = tp->mk_ptr(type);
    pointer = mk_offset(coerce_to_pointer_type(pointer, pointer_type), truncate_to_type(offset, tp->ptr_int()),
                        pointer_type, loop, context);
    NODE* access = mk_UMULT(pointer, type);
    access->scope = scope;
    return simp_node(access, loop, context);
}

bool has_constant_offset(const NODE* pointer) {
    return pointer->op == PLUS && pointer->right->op == ICON && pointer->type->is_ptr() &&
           pointer->left->type->is_ptr();
}

bool member_may_join_offset(const NODE* tree) { return !must_preserve_STDOT && !tree->right->mval->is_bitfield; }

// (*(p + C)).m -> *((M*)p + C')
NODE* member_at_offset(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* object = tree->left;
    if (object->op != UMULT || object->right != nullptr || !has_constant_offset(object->left)) return nullptr;
    if (!member_may_join_offset(tree)) return nullptr;
    NODE* sum = object->left;
    TYPE* type = object->type;
    erase_node(object);
    return mk_access_at_offset(tree, sum, type, loop, context);
}

// A local that no store through a pointer changes.
bool is_private_name(const NODE* tree) {
    if (tree->op != NAME || tree->u.sym == nullptr || tree->u.sym->level == 0 || tree->type->is_volatile())
        return false;
    return !tree->u.sym->aliased() || (currfuninfo != nullptr && !currfuninfo->has_local_address);
}

// A struct that can be named once more: an object, or the target of a pointer that no store through it changes.
bool is_simple_object(const NODE* tree) {
    if (tree->type->is_volatile()) return false;
    return tree->op == NAME || (tree->op == UMULT && tree->right == nullptr && is_private_name(tree->left));
}

// (a = b).m -> (a = b), a.m; by way of a pointer to a if neither a nor b can be named again
NODE* member_of_assignment(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* assignment = tree->left;
    if (assignment->op != STASG || tree_is_arg_prolog(assignment)) return nullptr;
    NODE* target = assignment->left;
    const NODE* again = is_simple_object(target)                                      ? target
                        : is_simple_object(assignment->right) && tree_is_pure(target) ? assignment->right
                                                                                      : nullptr;
    if (again != nullptr) {
        tree->left = copy_tree(again);
        return mk_COMMAOP(assignment, simp_node(tree, loop, context));
    }
    TYPE* type = tp->mk_ptr(target->type);
    SYMTAB* temp = opcode_is_lvalue(target->op) && tree_is_pure(target) ? mk_temp(type, tree->scope) : nullptr;
    if (temp == nullptr) return nullptr;
    currfuninfo->has_local_address = true; // the target may be a local
    NODE* take = simp_node(mk_ASG(mk_NAME(temp), mk_UAND(target, type)), loop, context);
    assignment->left = mk_UMULT(mk_NAME(temp), target->type);
    assignment->u.sym = nullptr;
    tree->left = mk_UMULT(mk_NAME(temp), assignment->left->type);
    return mk_COMMAOP(mk_COMMAOP(take, assignment), simp_node(tree, loop, context));
}

const RULE member_rules[] = {
    {"offset", "(*(p + C)).m -> *((M*)p + C')", member_at_offset},
    {"assignment", "(a = b).m -> (a = b), a.m", member_of_assignment},
};
const RULE_SET member_set("STDOT", member_rules);

// (p + C)->m -> *((M*)p + C')
NODE* arrow_at_offset(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_constant_offset(tree->left) || !member_may_join_offset(tree)) return nullptr;
    return mk_access_at_offset(tree, tree->left, tree->left->type->type_pointed_to(), loop, context);
}

NODE* mk_member(NODE* tree, NODE* object, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    if (object->type->is_volatile()) type = tp->mk_qual(type, QUAL_VOLATILE)->normalized();
    return simp_node(remake(tree, STDOT, object, tree->right, type), loop, context);
}

// (&s)->m -> s.m
NODE* arrow_of_object(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* address = tree->left;
    if (address->op != UAND || !opcode_is_lvalue(address->left->op) || !address->type->is_ptr()) return nullptr;
    NODE* object = address->left;
    if (!object->type->is_csu() || !same_type(object->type, address->type->type_pointed_to()->normalized()))
        return nullptr;
    erase_node(address);
    return mk_member(tree, object, loop, context);
}

// p->m -> (*p).m
NODE* arrow_of_pointer(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* pointer = tree->left;
    TYPE* csu_type = pointer->type->is_array() ? pointer->type : pointer->type->type_pointed_to();
    while (!csu_type->is_csu()) {
        OPTASSERT(csu_type->is_array());
        if (!csu_type->is_array()) return nullptr;
        csu_type = csu_type->elem_type();
    }
    OPTASSERT(csu_type->is_csu());
    if (pointer->type->is_ptr() && !pointer->type->type_pointed_to()->is_csu())
        pointer = coerce_to_pointer_type(pointer, tp->mk_ptr(csu_type));
    NODE* object = simp_node(mk_UMULT(pointer, csu_type->normalized()), loop, context);
    return mk_member(tree, object, loop, context);
}

const RULE arrow_rules[] = {
    {"offset", "(p + C)->m -> *((M*)p + C')", arrow_at_offset},
    {"object", "(&s)->m -> s.m", arrow_of_object},
    {"pointer", "p->m -> (*p).m", arrow_of_pointer},
};
const RULE_SET arrow_set("STREF", arrow_rules);

// ----------------------------------------------------------------------------------------------------------- MEMCPY

struct COPY {
    NODE *target, *source, *length;
};
COPY copy_of(const NODE* tree) { return {tree->left->left->left, tree->left->left->right, tree->left->right}; }

bool is_copy(const NODE* tree) {
    return tree->left->op == COMMA && tree->left->left->op == COMMA && tree->left->left->left->op != COMMA;
}

// Leaves the three operands.
void erase_copy_frame(NODE* tree) {
    erase_node(tree->left->left);
    erase_node(tree->left);
    erase_node(tree);
}

// memcpy(d, s, 0) -> (effect of s), d
NODE* empty_copy(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    COPY copy = copy_of(tree);
    if (copy.length->op != ICON || !copy.length->u.lval.is_zero()) return nullptr;
    if (!tree_is_pure(copy.target) && !tree_is_pure(copy.source)) return nullptr; // their order would change
    TYPE* type = tree->type;
    erase_copy_frame(tree);
    erase_node(copy.length);
    NODE* effect = peel_for_effect(copy.source);
    NODE* value = coerce_to_pointer_type(copy.target, type);
    return effect != nullptr ? simp_node(mk_COMMAOP(effect, value), loop, context) : value;
}

NODE* below_conversions(NODE* pointer) {
    while (pointer->op == PCONV && pointer->left->type->is_ptr()) pointer = pointer->left;
    return pointer;
}

// What the copied elements are: the pointees that stand in the source of the program, below the conversions to the
// parameter types of the copy. Null unless an assignment of the one to the other moves the same bits.
struct ELEMENT {
    TYPE *target = nullptr, *source = nullptr;
    int count = 0;
};
ELEMENT element_of(const COPY& copy) {
    ELEMENT element;
    TYPE *target = below_conversions(copy.target)->type, *source = below_conversions(copy.source)->type;
    if (copy.length->op != ICON || !target->is_ptr() || !source->is_ptr()) return element;
    target = target->type_pointed_to()->normalized();
    source = source->type_pointed_to()->normalized();
    if (target->is_volatile() || source->is_volatile()) return element;
    target = target->type_qualified();
    source = source->type_qualified();
    bool structs = target->is_csu() && source->is_csu();
    if (!structs && (!is_scalar_value(target) || !is_scalar_value(source))) return element;
    if (target->size() == 0 || target->size() != source->size() || target->is_bool() != source->is_bool())
        return element;
    bool alike = (target->is_ptr() && source->is_ptr()) || (target->is_integral() && source->is_integral()) ||
                 compatible_types(target, source, false);
    INT65 bits = copy.length->u.lval * INT65(unit_bits);
    if (!alike || !(bits % INT65(target->size())).is_zero()) return element;
    INT65 count = bits / INT65(target->size());
    if (count < INT65(1) || count > INT65(structs ? 1 : 2)) return element;
    return {target, source, static_cast<int>(count.low)};
}

// An address that may be computed again after a store through it.
bool is_stable_address(const NODE* pointer) {
    constexpr int max_steps = 20;
    for (int i = 0; i < max_steps; i++) {
        switch (pointer->op) {
        case PCONV: pointer = pointer->left; break;
        case PLUS:
            if (pointer->right->op != ICON) return false;
            pointer = pointer->left;
            break;
        case SCON:
        case ICON: return true;
        case NAME: return is_private_name(pointer) && pointer->type->is_ptr();
        case UAND:
            pointer = pointer->left;
            while (pointer->op == STDOT) pointer = pointer->left;
            return pointer->op == NAME;
        default: return false;
        }
    }
    return false;
}

// *d = *s for one element, `offset` units behind d and s, which are copied.
NODE* mk_element_copy(const NODE* target, const NODE* source, const ELEMENT& element, INT65 offset, LOOP_RECORD* loop,
                      CONTEXT* context) {
    auto access = [&](const NODE* pointer, TYPE* type) {
        TYPE* pointer_type = tp->mk_ptr(type);
        NODE* address = coerce_to_pointer_type(copy_tree(pointer), pointer_type);
        return simp_node(mk_UMULT(mk_offset(address, offset, pointer_type, loop, context), type), loop, context);
    };
    NODE* value = access(source, element.source);
    if (!element.target->is_csu()) value = coerce_to_type(value, element.target);
    return simp_node(mk_ASG(access(target, element.target), value), loop, context);
}

// memcpy(d, s, size of an element) -> t = d, (*t = *s), (void*)t
NODE* single_copy(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    COPY copy = copy_of(tree);
    ELEMENT element = element_of(copy);
    if (element.count != 1) return nullptr;
    NODE* take = nullptr;
    TYPE* type = tree->type;
    if (!is_stable_address(copy.target)) {
        TYPE* pointer_type = tp->mk_ptr(element.target);
        SYMTAB* temp = mk_temp(pointer_type, tree->scope);
        if (temp == nullptr) return nullptr;
        take = simp_node(mk_ASG(mk_NAME(temp), coerce_to_pointer_type(copy.target, pointer_type)), loop, context);
        copy.target = mk_NAME(temp);
    }
    erase_copy_frame(tree);
    NODE* move = mk_element_copy(copy.target, copy.source, element, 0, loop, context);
    erase_tree(copy.source);
    erase_node(copy.length);
    NODE* effects = join_effects(take, peel_for_effect(move));
    return mk_COMMAOP(effects, coerce_to_pointer_type(copy.target, type));
}

// memcpy(d, s, size of two scalars) -> (*d = *s), (d[1] = s[1]), (void*)d
NODE* double_copy(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    COPY copy = copy_of(tree);
    ELEMENT element = element_of(copy);
    if (element.count != 2 || !is_stable_address(copy.target) || !is_stable_address(copy.source)) return nullptr;
    TYPE* type = tree->type;
    erase_copy_frame(tree);
    NODE* first = mk_element_copy(copy.target, copy.source, element, 0, loop, context);
    INT65 half = element.target->size() / unit_bits;
    NODE* second = mk_element_copy(copy.target, copy.source, element, half, loop, context);
    erase_tree(copy.source);
    erase_node(copy.length);
    NODE* effects = join_effects(peel_for_effect(first), peel_for_effect(second));
    return mk_COMMAOP(effects, coerce_to_pointer_type(copy.target, type));
}

const RULE copy_rules[] = {
    {"empty", "memcpy(d, s, 0) -> d", empty_copy},
    {"single", "memcpy(d, s, size) -> *d = *s", single_copy},
    {"double", "memcpy(d, s, 2 * size) -> *d = *s, d[1] = s[1]", double_copy},
};
const RULE_SET copy_set("MEMCPY", copy_rules);

} // namespace

NODE* simp_UAND(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return address_set.run(tree, loop, context); }
NODE* simp_UMULT(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return access_set.run(tree, loop, context); }
NODE* simp_STDOT(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return member_set.run(tree, loop, context); }
NODE* simp_STREF(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return arrow_set.run(tree, loop, context); }
NODE* simp_MEMCPY(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return is_copy(tree) ? copy_set.run(tree, loop, context) : tree;
}
