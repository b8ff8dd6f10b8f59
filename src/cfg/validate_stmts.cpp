// The checks of trees: what each opcode needs around it and below it.
#include "cfg/bbutils.h"
#include "cfg/validate.h"
#include "cfg/validate_int.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>

namespace {

// What a node may stand as, seen from its parent.
enum PLACE { STATEMENT, VALUE, TARGETS, CASES, ARGUMENTS, ARMS, MEMBER, GIVEN_LABEL, PROLOG };

class STMT_CHECKER {
  public:
    std::vector<std::string> run();

  private:
    struct ITEM {
        const NODE* node;
        PLACE place;
    };
    void check_statement(const NODE* stmt, bool in_front);
    void check(const ITEM& item);
    bool check_form(const NODE* node, PLACE place);
    void check_place(const NODE* node, PLACE place);
    void check_operands(const NODE* node);
    void check_types(const NODE* node);
    void check_constant(const NODE* node);
    void check_cases(const NODE* stmt);
    void descend(const NODE* node, PLACE place);
    void push(const NODE* node, PLACE place) {
        if (node != nullptr) work_.push_back({node, place});
    }
    void want(bool ok, const NODE* node, const char* what) {
        if (!ok) faults_.add(node, what);
    }

    FUNINFO* f_ = currfuninfo;
    FAULT_LIST faults_;
    std::vector<ITEM> work_;
    bool in_blocks_ = false;
};

bool is_statement_op(int op) {
    switch (op) {
    case RETURN:
    case URETURN:
    case SWITCH:
    case BRANCH:
    case CBRANCH:
    case IF:
    case LOOP:
    case ENDLOOP:
    case NASSERT:
    case LABELDEF:
    case INITLOOP:
    case PPRAGMA:
    case ASM:
    case BGNBLOCK:
    case ENDBLOCK: return true;
    default: return false;
    }
}

const NODE* skip_marks(const NODE* node) {
    for (;;) {
        if (node == nullptr) return nullptr;
        if (node->op == IDENTITY || node->op == OUIALIGN || node->op == NONALIGN || node->op == DDNODE)
            node = node->left;
        else if (node->op == CSE_DUPE || node->op == CSE_ORIG)
            node = node->right;
        else
            return node;
    }
}

bool is_lvalue(const NODE* node) {
    node = skip_marks(node);
    while (node != nullptr && node->op == COMMAOP) node = skip_marks(node->right);
    return node != nullptr && (opcode_is_lvalue(node->op) || node->op == SSA_DEF || node->op == SSA_USE ||
                               node->op == REAL || node->op == IMAG);
}

// An object whose address can be taken: an lvalue, a function, a literal, and what an assignment to an lvalue leaves.
bool is_object(const NODE* node) {
    if (is_lvalue(node)) return true;
    node = skip_marks(node);
    return node != nullptr && (node->op == SCON || node->op == ASG || node->op == STASG || node->op == ARASG);
}

bool is_bitfield(const NODE* node) {
    node = skip_marks(node);
    return node != nullptr && (node->op == STDOT || node->op == STREF) && node->right != nullptr &&
           node->right->op == FIELD && node->right->mval != nullptr && node->right->mval->is_bitfield;
}

bool points(TYPE* type) { return type->is_ptr() || type->is_ref() || type->is_array(); }

// ------------------------------------------------------------------------------------------------------------- places

void STMT_CHECKER::check_place(const NODE* node, PLACE place) {
    int op = node->op;
    want((place == GIVEN_LABEL) == (op == LABEL), node,
         op == LABEL ? "a label reference outside a control statement" : "stands where a LABEL must stand");
    want((place == MEMBER) == (op == FIELD), node,
         op == FIELD ? "a FIELD that is no member selector" : "stands where a FIELD must stand");
    want((place == ARMS) == (op == COLON), node,
         op == COLON ? "a COLON outside a QUEST" : "stands where a COLON must stand");
    want(op != COMMA || place == TARGETS || place == CASES || place == ARGUMENTS, node, "a COMMA that is no list");
    want((op != CASE && op != DEFAULT) || place == CASES, node, "stands outside a SWITCH");
    want(!is_statement_op(op) || place == STATEMENT || (op == NASSERT && place == ARGUMENTS), node,
         "a statement inside an expression");
    want(op != PCOMMA || place == PROLOG, node, "a PCOMMA that is no prolog");
}

bool STMT_CHECKER::check_form(const NODE* node, PLACE) {
    int operands = number_of_operands[node->op & 255];
    if (node->op < 0 || node->op > 255 || operands == 255) {
        faults_.add(node, "no opcode");
        return false;
    }
    bool has_right = node->right != nullptr, has_left = node->left != nullptr;
    if (node->op == COLON) {
        want(has_left || has_right, node, "has no arm");
        return true;
    }
    if (node->op == UMULT || node->op == SKIP)
        operands = has_right ? 2 : operands; // a subscript inside the loop passes
    bool ok = has_left == (operands >= 1) && has_right == (operands == 2);
    want(ok || node->op == SKIP, node, "has not the operands of its opcode");
    return ok;
}

// ----------------------------------------------------------------------------------------------------- types and shape

bool may_lack_type(int op) {
    return op == LABEL || op == COMMA || op == CASE || op == DEFAULT || op == LABELDEF || op == PPRAGMA || op == ASM;
}

void STMT_CHECKER::check_types(const NODE* node) {
    TYPE* type = node->type;
    if (boolean_result[node->op]) want(type->is_integral(), node, "a truth value of a type that is no integer");
    switch (node->op) {
    case SCONV: want(!type->is_ptr() && !type->is_enum(), node, "SCONV to a pointer or an enum"); break;
    case PCONV:
    case ISP2CHAR: want(points(type), node, "PCONV to a type that is no pointer"); break;
    case UAND: want(points(type), node, "an address of a type that is no pointer"); break;
    case ICON: check_constant(node); break;
    case FCON: want(type->is_fltpt() && node->u.fval != nullptr, node, "FCON of a type that is not floating"); break;
    case SCON: want(points(type) && node->text != nullptr, node, "SCON without text or of a wrong type"); break;
    case NAME: want(node->u.sym != nullptr, node, "names nothing"); break;
    case FIELD: want(node->mval != nullptr && node->u.csu != nullptr, node, "selects nothing"); break;
    default: break;
    }
}

void STMT_CHECKER::check_constant(const NODE* node) {
    TYPE* type = node->type;
    if (!type->is_integral())
        faults_.add(node, "ICON of a type that is no integer");
    else if (!(truncate_to_type(node->u.lval, type) == node->u.lval))
        faults_.add(node, "a value outside its type: " + int65_to_text(node->u.lval));
}

void STMT_CHECKER::check_operands(const NODE* node) {
    auto type_of = [](const NODE* operand) { return operand->type; };
    TYPE* left = node->left != nullptr ? type_of(node->left) : nullptr;
    if (opcode_is_increment(node->op)) want(node->right->op == ICON, node, "the step is no ICON");
    if (opcode_is_store(node->op)) want(is_lvalue(node->left), node, "the target is no lvalue");
    switch (node->op) {
    case ASG: want(left != nullptr && !left->is_csu() && !left->is_func(), node, "the target is no scalar"); break;
    case STASG: want(left != nullptr && left->is_csu(), node, "the target is no struct"); break;
    case ARASG: want(left != nullptr && left->is_array(), node, "the target is no array"); break;
    case UAND:
        want(is_object(node->left), node, "the address of something that is no object");
        want(!is_bitfield(node->left), node, "the address of a bit-field");
        break;
    case UMULT: want(left != nullptr && points(left), node, "the operand is no pointer"); break;
    case STREF: want(left != nullptr && points(left), node, "the operand is no pointer"); break;
    case STDOT: want(left != nullptr && left->is_csu(), node, "the object is no struct"); break;
    case STARG: want(left != nullptr && left->is_csu(), node, "the argument is no struct"); break;
    case CALL:
    case UCALL: want(left != nullptr && (points(left) || left->is_func()), node, "the callee is no function"); break;
    case RETURN:
    case URETURN:
        want(node->left->op == NAME && node->left->u.sym == currfunc, node, "does not name the function");
        break;
    case SWITCH: check_cases(node); break;
    case MEMCPY: {
        const NODE* list = node->left;
        want(list->op == COMMA && list->left != nullptr && list->left->op == COMMA, node, "has not three operands");
        break;
    }
    case PPRAGMA: want(node->pragma != nullptr, node, "has no record"); break;
    case ASM: want(node->text != nullptr, node, "has no text"); break;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: want(node->u.name != nullptr, node, "has no name"); break;
    default: break;
    }
}

// The list leans to the left, the CASEs are distinct, the DEFAULT stands at the end. Before blocks exist it may lack.
void STMT_CHECKER::check_cases(const NODE* stmt) {
    const NODE* list = stmt->right;
    if (list->op == COMMA && list->right->op == DEFAULT)
        list = list->left;
    else if (in_blocks_ || list->op == DEFAULT)
        faults_.add(stmt, "has not a list of CASEs that ends in a DEFAULT");
    std::vector<INT65> values;
    for (; list != nullptr; list = list->op == COMMA ? list->left : nullptr) {
        const NODE* entry = list->op == COMMA ? list->right : list;
        if (entry == nullptr || entry->op != CASE || entry->left == nullptr || entry->left->op != ICON) {
            faults_.add(entry, "stands where a CASE of an ICON must stand");
            return;
        }
        values.push_back(entry->left->u.lval);
    }
    want(stmt->u.lval == INT65(static_cast<uint32_t>(values.size())), stmt, "the count of CASEs is wrong");
    std::sort(values.begin(), values.end());
    want(std::adjacent_find(values.begin(), values.end()) == values.end(), stmt, "two CASEs have one value");
}

// ------------------------------------------------------------------------------------------------------------- walking

void STMT_CHECKER::descend(const NODE* node, PLACE place) {
    PLACE left = VALUE, right = VALUE;
    switch (node->op) {
    case BRANCH:
    case DEFAULT: left = GIVEN_LABEL; break;
    case CASE:
    case CBRANCH:
    case LOOP:
    case ENDLOOP: right = GIVEN_LABEL; break;
    case IF: right = TARGETS; break;
    case SWITCH: right = CASES; break;
    case QUEST: right = ARMS; break;
    case CALL: right = ARGUMENTS; break;
    case ICALL:
    case MCALL:
    case MEMCPY: left = ARGUMENTS; break;
    case COMMA: left = right = place == TARGETS ? GIVEN_LABEL : place; break;
    case PCOMMA: left = right = PROLOG; break;
    case STDOT:
    case STREF: right = MEMBER; break;
    case NASSERT: break;
    default: break;
    }
    push(node->right, right);
    push(node->left, left);
}

void STMT_CHECKER::check(const ITEM& item) {
    const NODE* node = item.node;
    bool whole = check_form(node, item.place);
    check_place(node, item.place);
    bool typed = node->type != nullptr;
    if (!typed && !may_lack_type(node->op)) faults_.add(node, "has no type");
    if (number_of_operands[node->op & 255] == 255) return;
    if (typed) check_types(node);
    bool operands_typed = true;
    for (const NODE* operand : {node->left, node->right})
        if (operand != nullptr && operand->type == nullptr && !may_lack_type(operand->op)) operands_typed = false;
    if (whole && operands_typed) check_operands(node);
    if (node->op == CSE_DUPE)
        push(node->left, VALUE);
    else
        descend(node, item.place);
}

void STMT_CHECKER::check_statement(const NODE* stmt, bool in_front) {
    PLACE place = STATEMENT;
    if (stmt->op == PCOMMA && in_front && tree_is_arg_prolog(stmt)) place = PROLOG;
    work_.push_back({stmt, place});
    while (!work_.empty() && !faults_.full()) {
        ITEM item = work_.back();
        work_.pop_back();
        check(item);
    }
    work_.clear();
}

std::vector<std::string> STMT_CHECKER::run() {
    for (LIST* cell = f_->statements; cell != nullptr; cell = cell->rest) {
        faults_.at(nullptr, cell->first);
        // Before blocks exist a PCOMMA is the prolog if nothing but pragmas and texts stand in front of it.
        bool in_front = true;
        if (cell->first->op == PCOMMA)
            for (LIST* before = cell->rest; before != nullptr; before = before->rest)
                in_front &= before->first->op == PPRAGMA || before->first->op == ASM;
        check_statement(cell->first, in_front);
    }
    in_blocks_ = true;
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) {
            faults_.at(bb, cell->first);
            check_statement(cell->first, bb == f_->bb_list && cell == bb->stmts);
        }
    return faults_.take();
}

} // namespace

std::vector<std::string> stmt_faults() { return STMT_CHECKER().run(); }
