#include "icode/if_check.h"

#include "ir/node.h"
#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/types.h"

namespace {

// Where a node stands, as far as it matters for what it may be.
enum PLACE {
    VALUE,
    EFFECT,
    LVALUE_PLACE,
    FIELD_PLACE,
    LABEL_PLACE,
    COLON_PLACE,
    LIST_PLACE,
    CASES,
    CALLEE,
    RETURN_NAME
};

struct VISIT {
    NODE* node;
    PLACE place;
};

bool is_bit_field(const NODE* lvalue) {
    return (lvalue->op == STDOT || lvalue->op == STREF) && lvalue->right->mval->is_bitfield;
}

// Types of values that can be computed with.
bool is_number(TYPE* t) {
    if (t->is_integral() || t->is_enum()) return t->size() >= 1 && t->size() <= 64;
    return t->is_fltpt() && (t->size() == 32 || t->size() == 64);
}
bool is_pointer(TYPE* t) { return (t->is_ptr() || t->is_ref()) && t->size() >= 1 && t->size() <= 64; }
bool is_pointer_value(TYPE* t) { return is_pointer(t) || t->is_array(); }
bool is_scalar_value(TYPE* t) { return is_number(t) || is_pointer_value(t) || t->is_vector() || t->is_complex(); }

bool is_lvalue(const NODE* tree) {
    while (tree->op == COMMAOP || tree->op == STDOT) tree = tree->op == COMMAOP ? tree->right : tree->left;
    return tree->op == NAME || tree->op == UMULT || tree->op == STREF;
}

bool may_be_statement(int op) {
    switch (op) {
    case LABEL:
    case FIELD:
    case COLON:
    case COMMA:
    case CASE:
    case DEFAULT:
    case ENDINIT:
    case SKIP: return false;
    default: return true;
    }
}

bool is_control(int op) {
    switch (op) {
    case BRANCH:
    case CBRANCH:
    case SWITCH:
    case RETURN:
    case URETURN:
    case LOOP:
    case ENDLOOP: return true;
    default: return false;
    }
}

class TREE_CHECK {
  public:
    const char* run(NODE* root, PLACE place) {
        push(root, place);
        while (!stack_.empty()) {
            VISIT v = stack_.back();
            stack_.pop_back();
            if (const char* fault = visit(v.node, v.place)) return fault;
        }
        return nullptr;
    }

    const char* switch_cases(NODE* list) {
        // A left-leaning chain of CASEs, whose last cell may hold the DEFAULT.
        std::unordered_set<int64_t> values;
        bool last = true;
        for (NODE* cell = list; cell != nullptr; last = false) {
            NODE* item = cell->op == COMMA ? cell->right : cell;
            if (cell->op == COMMA && cell->type == nullptr) cell->type = tp->int_type();
            if (item->type == nullptr) item->type = tp->int_type();
            if (item->op == DEFAULT) {
                if (!last || cell->op != COMMA) return "a SWITCH whose DEFAULT is not behind its CASEs";
                push(item->left, LABEL_PLACE);
            } else if (item->op == CASE) {
                if (item->left->op != ICON) return "a CASE whose value is no constant";
                if (item->left->type == nullptr || !is_number(item->left->type)) return "a constant without a type";
                if (!values.insert(item->left->u.lval.to_i64()).second) return "a SWITCH with two CASEs of one value";
                push(item->right, LABEL_PLACE);
            } else
                return "a SWITCH with something other than CASEs";
            cell = cell->op == COMMA ? cell->left : nullptr;
        }
        return nullptr;
    }

  private:
    std::vector<VISIT> stack_;

    void push(NODE* node, PLACE place) { stack_.push_back({node, place}); }
    void operands(NODE* node, PLACE place) {
        if (node->left != nullptr) push(node->left, place);
        if (node->right != nullptr) push(node->right, place);
    }

    const char* visit(NODE* node, PLACE place) {
        int op = node->op;
        if (op > LAST_FILE_OPCODE || number_of_operands[op] == ILLOP) return "an opcode that no tree may hold";
        if (op != SKIP && number_of_operands[op] != (node->left != nullptr) + (node->right != nullptr))
            return "a node with the wrong number of operands";
        switch (place) {
        case LABEL_PLACE:
            if (op != LABEL) return "a jump whose target is no LABEL";
            if (node->type == nullptr) node->type = tp->int_type();
            return nullptr;
        case FIELD_PLACE: return op == FIELD && node->type != nullptr ? nullptr : "a member access without a FIELD";
        case COLON_PLACE:
            if (op != COLON) return "a QUEST without a COLON";
            if (node->type == nullptr) return "a node without a type";
            operands(node, VALUE);
            return nullptr;
        case LIST_PLACE:
            if (op == COMMA) {
                if (node->type == nullptr) node->type = tp->int_type();
                operands(node, LIST_PLACE);
                return nullptr;
            }
            break;
        case RETURN_NAME:
            if (op != NAME || node->u.sym == nullptr) return "a RETURN that names no function";
            return node->type != nullptr ? nullptr : "a node without a type";
        default: break;
        }
        if (!may_be_statement(op)) return "an operator in a place where it has no meaning";
        if (is_control(op) && place != EFFECT) return "a control statement inside an expression";
        if (node->type == nullptr) {
            if (!is_control(op)) return "a node without a type";
            node->type = op == URETURN ? tp->void_type : tp->int_type();
        }
        if (place == VALUE && node->type->is_void() && op != CALL && op != UCALL && op != MCALL && op != UMCALL &&
            op != COMMAOP && op != QUEST && op != SCONV && op != ICALL && op != UICALL)
            return "a value without a type";
        return visit_op(node, place);
    }

    const char* visit_op(NODE* node, PLACE place) {
        TYPE* type = node->type;
        NODE* left = node->left;
        NODE* right = node->right;
        if (node->op == ASG || opcode_is_op_assignment(node->op) || opcode_is_increment(node->op)) {
            if (opcode_is_increment(node->op) && right->op != ICON) return "an increment whose step is no constant";
            push(left, LVALUE_PLACE);
            push(right, VALUE);
            return check_assignment(node);
        }
        switch (node->op) {
        case NOP: return place == EFFECT ? nullptr : "a NOP inside an expression";
        case NAME:
            if (node->u.sym == nullptr) return "a name without a symbol";
            if (!type->is_func() && type->size() > node->u.sym->size && node->u.sym->sclass != 5 &&
                node->u.sym->size != 0)
                return "a name whose type is larger than its symbol";
            return nullptr;
        case SCON: return is_pointer(type) || type->is_array() ? nullptr : "a string that is neither pointer nor array";
        case ICON:
            return (type->is_integral() || type->is_enum()) && is_number(type) ? nullptr
                                                                               : "an integer constant of another type";
        case FCON: return type->is_fltpt() && is_number(type) ? nullptr : "a floating constant of another type";
        case STASG:
        case ARASG:
            push(left, LVALUE_PLACE);
            push(right, VALUE);
            if (!is_lvalue(left)) return "an assignment to no object";
            if (left->type == nullptr || right->type == nullptr) return "a node without a type";
            if (node->op == STASG ? !left->type->is_csu() || !right->type->is_csu()
                                  : !left->type->is_array() || !right->type->is_array())
                return "a copy of something that is no object of the kind";
            return left->type->size() == right->type->size() ? nullptr : "a copy between objects of different sizes";
        case UMULT:
            push(left, VALUE);
            return left->type != nullptr && is_pointer_value(left->type) ? nullptr
                                                                         : "an indirection through no pointer";
        case UAND:
            push(left, LVALUE_PLACE);
            if (!is_lvalue(left)) return "the address of what is no object";
            if (is_bit_field(left)) return "the address of a bit-field";
            return is_pointer(type) || type->is_array() ? nullptr : "an address that is no pointer";
        case ARGREF:
            push(left, LVALUE_PLACE);
            if (!is_lvalue(left)) return "the address of what is no object";
            return is_bit_field(left) ? "the address of a bit-field" : nullptr;
        case STARG: push(left, VALUE); return type->is_csu() ? nullptr : "a struct argument that is no struct";
        case STDOT:
        case STREF: {
            push(left, node->op == STDOT ? LVALUE_PLACE : VALUE);
            push(right, FIELD_PLACE);
            if (left->type == nullptr || right->op != FIELD) return "a member access without a FIELD";
            TYPE* object = left->type;
            if (node->op == STREF) {
                if (!object->is_ptr()) return "a member access through no pointer";
                object = object->type_pointed_to();
            }
            if (!object->is_csu()) return "a member of what is no struct";
            const fkMDATA* member = right->mval;
            uint64_t end = uint64_t(member->bit_offset) + member->bit_size;
            if (member->bit_offset < 0 || (object->size() != 0 && end > object->size()))
                return "a member outside its struct";
            if (member->is_bitfield && (!member->type->is_integral() && !member->type->is_enum()))
                return "a bit-field that is no integer";
            if (member->is_bitfield && (member->bit_size == 0 || member->bit_size > 64))
                return "a bit-field of no width";
            if (member->is_bitfield && !is_number(type)) return "a bit-field that is no integer";
            return nullptr;
        }
        case QUEST:
            push(left, VALUE);
            push(right, COLON_PLACE);
            return condition(left);
        case ANDAND:
        case OROR:
            operands(node, VALUE);
            if (const char* fault = condition(left)) return fault;
            return condition(right);
        case EXCLAIM: push(left, VALUE); return condition(left);
        case PMCONV:
        case PVCONV:
            operands(node, VALUE);
            if (right->op != ICON || right->u.lval.is_zero() || !(right->u.lval % INT65(16)).is_zero())
                return "a scaling by what is no multiple of the unit";
            return is_number(type) ? nullptr : "a scaling of what is no integer";
        case CALL:
        case UCALL:
            push(left, VALUE);
            if (right != nullptr) push(right, LIST_PLACE);
            return callee_fault(left);
        case ICALL:
        case MCALL: push(left, LIST_PLACE); return nullptr;
        case UICALL:
        case UMCALL: return nullptr;
        case MEMCPY:
            push(left, LIST_PLACE);
            if (left->op != COMMA || left->left->op != COMMA || left->left->left->op == COMMA ||
                left->right->op == COMMA || left->left->right->op == COMMA)
                return "a MEMCPY without three operands";
            return nullptr;
        case COMMAOP:
            push(left, EFFECT);
            push(right, place == EFFECT ? EFFECT : place == LVALUE_PLACE ? LVALUE_PLACE : VALUE);
            if (is_control(left->op) || is_control(right->op)) return "a control statement inside an expression";
            return nullptr;
        case PCOMMA:
            if (place != EFFECT) return "a prolog inside an expression";
            operands(node, EFFECT);
            if (is_control(left->op) || is_control(right->op)) return "a control statement inside an expression";
            return nullptr;
        case BRANCH: push(left, LABEL_PLACE); return nullptr;
        case CBRANCH:
            push(left, VALUE);
            push(right, LABEL_PLACE);
            return condition(left);
        case LOOP:
            push(left, VALUE);
            push(right, LABEL_PLACE);
            return nullptr;
        case ENDLOOP:
            push(left, LVALUE_PLACE);
            push(right, LABEL_PLACE);
            return is_lvalue(left) && left->type != nullptr && left->type->is_signed()
                       ? nullptr
                       : "an ENDLOOP whose counter is no signed integer";
        case SWITCH:
            push(left, VALUE);
            if (left->type == nullptr || !(left->type->is_integral() || left->type->is_enum()))
                return "a SWITCH on what is no integer";
            return switch_cases(right);
        case RETURN:
            push(left, RETURN_NAME);
            push(right, VALUE);
            return nullptr;
        case URETURN: push(left, RETURN_NAME); return nullptr;
        case SCONV:
            push(left, VALUE);
            if (type->is_void()) return nullptr;
            if (type->is_vector() || type->is_complex()) return nullptr;
            if (!is_number(type)) return "a conversion to what is no number";
            return left->type != nullptr && (is_scalar_value(left->type)) ? nullptr
                                                                          : "a conversion of what is no scalar";
        case PCONV:
            push(left, VALUE);
            if (!is_pointer(type) && !type->is_array()) return "a conversion to what is no pointer";
            return left->type != nullptr && is_scalar_value(left->type) && !left->type->is_fltpt()
                       ? nullptr
                       : "a conversion of what is no pointer or integer";
        case NASSERT:
        case ASSERT: push(left, VALUE); return condition(left);
        default: break;
        }
        operands(node, VALUE);
        return operator_fault(node);
    }

    // Everything that computes a value from values.
    const char* operator_fault(NODE* node) {
        TYPE* type = node->type;
        for (NODE* operand : {node->left, node->right}) {
            if (operand == nullptr) continue;
            if (operand->type == nullptr) return "a node without a type";
            if (operand->op == EPVAL || operand->op == DDNODE) continue;
            if (!is_scalar_value(operand->type) && node->op != EPVAL && node->op != DDNODE && node->op != ACONV)
                return "an operator on what is no scalar";
        }
        if (opcode_is_comparison(node->op))
            return is_number(type) && !type->is_fltpt() ? nullptr : "a comparison whose result is no integer";
        switch (node->op) {
        case ANDB:
        case ORB:
        case XORB:
        case MOD:
        case SLL:
        case SRL:
        case NOTB:
            for (NODE* operand : {node->left, node->right})
                if (operand != nullptr && operand->type->is_fltpt()) return "a bit operation on what is no integer";
            return is_number(type) && !type->is_fltpt() ? nullptr : "a bit operation on what is no integer";
        case MULT:
        case DIV:
        case UMINUS:
        case ABS:
        case SQR:
            return is_number(type) || type->is_vector() || type->is_complex() ? nullptr
                                                                              : "arithmetic on what is no number";
        case SQRT:
        case RECIP:
        case TOIEEE:
        case FRIEEE: return type->is_fltpt() ? nullptr : "floating arithmetic on another type";
        case PLUS:
        case MINUS: return is_scalar_value(type) ? nullptr : "arithmetic on what is no number";
        default: return nullptr;
        }
    }

    const char* check_assignment(NODE* node) {
        if (!is_lvalue(node->left)) return "an assignment to no object";
        if (node->left->type == nullptr || node->right->type == nullptr) return "a node without a type";
        TYPE* target = node->left->type;
        if (!is_number(target) && !is_pointer(target) && !target->is_vector() && !target->is_complex())
            return "an assignment to what is no scalar";
        if (!is_scalar_value(node->right->type)) return "an assignment of what is no scalar";
        if (target->is_fltpt() && node->op != ASG && node->op != PLUSASG && node->op != MINUSASG &&
            node->op != MULTASG && node->op != DIVASG)
            return "a bit operation on what is no integer";
        return nullptr;
    }

    static const char* condition(NODE* cond) {
        return cond->type != nullptr && is_scalar_value(cond->type) ? nullptr : "a condition that is no scalar";
    }

    static const char* callee_fault(NODE* callee) {
        if (callee->type == nullptr || !callee->type->is_ptr() || !callee->type->type_pointed_to()->is_func())
            return "a call of what is no function";
        return nullptr;
    }
};

} // namespace

const char* statement_fault(NODE* tree) { return TREE_CHECK().run(tree, EFFECT); }
const char* expression_fault(NODE* tree) { return TREE_CHECK().run(tree, is_control(tree->op) ? VALUE : EFFECT); }

const char* initialiser_fault(NODE* tree) {
    if (tree->op == ENDINIT || tree->op == SKIP) return nullptr;
    if (const char* fault = TREE_CHECK().run(tree, VALUE)) return fault;
    if (tree->op == SCON && tree->type->is_array()) return nullptr;
    return is_initialiser_constant(tree) ? nullptr : "an initialiser that is no link-time constant";
}

bool LABEL_CHECK::define(uint32_t number) { return static_cast<int32_t>(number) > 0 && defined_.insert(number).second; }

void LABEL_CHECK::note_references(NODE* statement) {
    auto note = [&](NODE* label) { referenced_.insert(label->u.lval.low); };
    if (statement->op == ENDLOOP)
        note(statement->right);
    else
        for_each_label_ref(statement, note);
}

const char* LABEL_CHECK::fault() const {
    for (uint32_t number : referenced_)
        if (!defined_.contains(number)) return "a jump to a label that the function does not define";
    return nullptr;
}

void LABEL_CHECK::clear() {
    defined_.clear();
    referenced_.clear();
}
