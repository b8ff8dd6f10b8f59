// FUNCTION_GEN: the function as a whole, statements, instructions.
#include "gen.h"

#include <algorithm>

const bool writes_slot_a[B_COUNT] = {
#define OP(name, writes) writes != 0,
#include "bytecode.def"
};

FUNCTION_GEN::FUNCTION_GEN(PROGRAM_GEN& u, const SOURCE_FUNCTION& s, FUNCTION& o)
    : unit_(u), source_(s), out_(o), statements_(s.statements) {}

// --------------------------------------------------------------------------------------------------------- checks

std::string FUNCTION_GEN::where() const {
    std::string text;
    if (psn_ != nullptr && psn_->file != nullptr)
        text = std::string(psn_->file) + ":" + std::to_string(psn_->line) + ":" + std::to_string(psn_->column) + ": ";
    return text + "function '" + out_.name + "': ";
}

NODE* FUNCTION_GEN::operand(NODE* n, bool right) const {
    NODE* o = right ? n->right : n->left;
    if (o == nullptr) fail(std::string(opname(n->op)) + " without operand");
    return o;
}

VKIND FUNCTION_GEN::scalar_kind(const NODE* n) const {
    VKIND k = kind_of(n->type);
    if (!is_scalar_kind(k)) fail(std::string(opname(n->op)) + " of a type that is no supported scalar");
    return k;
}

uint32_t FUNCTION_GEN::block_units(const TYPE* t) const {
    if (t == nullptr || kind_of(t) != V_BLOCK) fail("struct without type");
    uint32_t units = units_of(t);
    if (units > max_frame) fail("object too large");
    return units;
}

// ------------------------------------------------------------------------------------------------------ instructions

INSN& FUNCTION_GEN::emit(BYTECODE op, int a, int b, int c) {
    if (op != B_BLOCK && op != B_BLOCK_STEPS) open_block();
    INSN i;
    i.op = op;
    i.a = static_cast<uint16_t>(a);
    i.b = static_cast<uint16_t>(b);
    i.c = static_cast<uint16_t>(c);
    code_.push_back(i);
    position_of_.push_back(position_);
    return code_.back();
}

INSN& FUNCTION_GEN::emit_imm(int op, int a, int b, int64_t imm) {
    INSN& i = emit(static_cast<BYTECODE>(op), a, b);
    i.imm = imm;
    return i;
}

uint32_t FUNCTION_GEN::new_label() {
    label_at_.push_back(-1);
    return static_cast<uint32_t>(label_at_.size() - 1);
}

void FUNCTION_GEN::bind(uint32_t label) {
    close_block();
    label_at_[label] = static_cast<int64_t>(code_.size());
    last_bound_ = code_.size();
}

// A jump that counts as taken goes over a stub that counts it, so that the path which falls through pays nothing.
void FUNCTION_GEN::jump(BYTECODE op, int a, int b, int32_t x, uint32_t label, bool counted_as_taken) {
    bool counting = unit_.options.count;
    if (counting && counted_as_taken && op == B_JMP) {
        count(C_br_taken);
    } else if (counting && counted_as_taken) {
        auto [it, is_new] = stub_of_.try_emplace(label, 0);
        if (is_new) {
            it->second = new_label();
            stubs_.push_back({it->second, label});
        }
        label = it->second;
    }
    INSN& i = emit(op, a, b);
    i.x = x;
    i.y = static_cast<int32_t>(label);
    close_block();
}

int FUNCTION_GEN::new_slot() {
    if (top_ >= max_slots) fail("function or expression too large");
    most_slots_ = std::max(most_slots_, top_ + 1);
    return top_++;
}

// Temporaries in the frame come into use here and go out of use at the end of the statement.
uint32_t FUNCTION_GEN::new_frame_object(uint32_t units) {
    constexpr uint32_t gap = 4;
    uint32_t at = frame_top_;
    if (units > max_frame || at + units + gap > max_frame) fail("frame too large");
    frame_top_ = (at + units + gap + 1) & ~1u;
    most_frame_ = std::max(most_frame_, frame_top_);
    if (units != 0) {
        INSN& i = emit(B_SET_STATE, UNIT_WRITABLE);
        i.x = static_cast<int32_t>(at);
        i.y = static_cast<int32_t>(units);
        statement_objects_.push_back(at);
        statement_objects_.push_back(units);
    }
    return at;
}

void FUNCTION_GEN::open_block() {
    if (block_ >= 0 || (!unit_.options.count && !unit_.options.steps)) return;
    block_ = static_cast<int>(unit_.program.blocks.size());
    unit_.program.blocks.emplace_back();
    emit(unit_.options.steps ? B_BLOCK_STEPS : B_BLOCK).x = block_;
}

void FUNCTION_GEN::count(COUNTER k, uint32_t n) {
    open_block();
    if (block_ >= 0) unit_.program.blocks[static_cast<size_t>(block_)].n[k] += n;
}

void FUNCTION_GEN::count_node() {
    open_block();
    if (block_ >= 0) ++unit_.program.blocks[static_cast<size_t>(block_)].nodes;
}

uint32_t FUNCTION_GEN::position_number(const PSN* psn) {
    if (psn == last_psn_ && !out_.positions.empty()) return static_cast<uint32_t>(out_.positions.size() - 1);
    last_psn_ = psn;
    out_.positions.push_back(psn == nullptr ? SOURCE_POSITION{} : SOURCE_POSITION{psn->file, psn->line, psn->column});
    return static_cast<uint32_t>(out_.positions.size() - 1);
}

// ------------------------------------------------------------------------------------------------------------ locals

void FUNCTION_GEN::prepare_locals() {
    for (const auto* list : {&source_.params, &source_.locals})
        for (SYMTAB* s : *list) {
            s->word[0] = static_cast<uint32_t>(locals_.size());
            LOCAL local;
            local.symbol = s;
            local.kind = kind_of(s->otype);
            bool area = s->sclass == SC_PARM_VARARGS;
            if (!area && !is_scalar_kind(local.kind) && local.kind != V_BLOCK)
                fail(std::string("local '") + s->name + "' of a type that is not supported");
            if (list == &source_.locals &&
                (s->sclass == SC_EXTERN_DEF || s->sclass == SC_STATIC || s->sclass == SC_EXTERN_DECL))
                fail(std::string("local '") + s->name + "' of a storage class that no local has");
            locals_.push_back(local);
        }
}

// Finds the locals whose address is taken or that are accessed as something else than they are.
void FUNCTION_GEN::scan_tree(NODE* root, STATEMENT& s) {
    auto is_local = [&](const NODE* n) {
        return n != nullptr && n->op == NAME && n->u.sym != nullptr && n->u.sym->level != 0 &&
               n->u.sym->word[0] < locals_.size() && locals_[n->u.sym->word[0]].symbol == n->u.sym;
    };
    std::vector<NODE*> work{root};
    while (!work.empty()) {
        NODE* n = work.back();
        work.pop_back();
        // What stands under an operator that needs an address; conversions of the operand change nothing.
        if (n->op == UAND || n->op == ARGREF) {
            NODE* of = n->left;
            while (of != nullptr && (of->op == EPVAL || of->op == DDNODE || of->op == COMMAOP))
                of = of->op == COMMAOP ? of->right : of->left;
            if (is_local(of)) locals_[of->u.sym->word[0]].address_taken = true;
        }
        if ((n->op == STDOT || n->op == STARG) && is_local(n->left)) locals_[n->left->u.sym->word[0]].in_memory = true;
        if ((n->op == STASG || n->op == ARASG))
            for (NODE* side : {n->left, n->right})
                if (is_local(side)) locals_[side->u.sym->word[0]].in_memory = true;
        if (is_local(n)) {
            LOCAL& local = locals_[n->u.sym->word[0]];
            VKIND k = kind_of(n->type);
            bool alike = k == local.kind || (is_integer_kind(k) && is_integer_kind(local.kind) &&
                                             units_of_kind(k) == units_of_kind(local.kind));
            if (!alike) local.in_memory = true;
        }
        if (n != root && opcode_is_store(n->op)) s.nested_effects = true;
        if (n->right != nullptr) work.push_back(n->right);
        if (n->left != nullptr) work.push_back(n->left);
    }
}

void FUNCTION_GEN::scan_statements() {
    for (STATEMENT& s : statements_)
        if (s.what == STATEMENT::TREE) scan_tree(s.tree, s);
}

void FUNCTION_GEN::mark_hazards(NODE* root) {
    std::vector<NODE*> work{root};
    while (!work.empty()) {
        NODE* n = work.back();
        work.pop_back();
        bool assigns = opcode_is_store(n->op);
        NODE* to = n->left;
        while (assigns && to != nullptr && (to->op == EPVAL || to->op == DDNODE || to->op == COMMAOP))
            to = to->op == COMMAOP ? to->right : to->left;
        if (n != root && assigns && to != nullptr && to->op == NAME && to->u.sym != nullptr && to->u.sym->level != 0)
            if (LOCAL* local = local_of(to)) local->hazard = statement_number_;
        if (n->right != nullptr) work.push_back(n->right);
        if (n->left != nullptr) work.push_back(n->left);
    }
}

// Parameters come in the first slots; the rest follows. Locals in memory stand in the frame with gaps between them.
void FUNCTION_GEN::place_locals() {
    constexpr uint32_t gap = 8;
    auto in_frame = [&](LOCAL& l) {
        uint32_t units = std::max(units_of(l.symbol->otype), 1u);
        if (units > max_frame || frame_locals_ + units + 2 * gap > max_frame) fail("frame too large");
        l.where = LOCAL::IN_FRAME;
        l.frame_at = frame_locals_;
        out_.frame_objects.emplace_back(frame_locals_, units);
        frame_locals_ = (frame_locals_ + units + gap + 3) & ~3u;
    };
    size_t params = source_.params.size();
    for (size_t i = 0; i < params; ++i) {
        LOCAL& l = locals_[i];
        l.slot = static_cast<uint16_t>(new_slot());
        if (l.symbol->sclass == SC_PARM_VARARGS || l.kind == V_BLOCK)
            l.where = LOCAL::BY_ADDRESS;
        else if (l.address_taken || l.in_memory)
            in_frame(l);
    }
    if (out_.signature.result == V_BLOCK) result_slot_ = new_slot();
    for (size_t i = params; i < locals_.size(); ++i) {
        LOCAL& l = locals_[i];
        if (l.kind == V_BLOCK || l.address_taken || l.in_memory || top_ > max_slots / 2) {
            in_frame(l);
        } else {
            l.slot = static_cast<uint16_t>(new_slot());
            l.checked = true;
        }
    }
    first_temp_ = top_;
    frame_top_ = most_frame_ = frame_locals_;
    // A scalar parameter that must be in memory arrives in its slot.
    for (size_t i = 0; i < params; ++i) {
        LOCAL& l = locals_[i];
        if (l.where != LOCAL::IN_FRAME) continue;
        LVALUE lv;
        lv.kind = l.kind;
        lv.counted = false;
        lv.place.base = PLACE::FRAME;
        lv.place.offset = l.frame_at;
        store(lv, VALUE::in(l.slot, l.kind));
    }
}

// -------------------------------------------------------------------------------------------------------- statements

uint32_t FUNCTION_GEN::label_of(const NODE* n) {
    if (n == nullptr || n->op != LABEL) fail("jump without label");
    uint32_t number = static_cast<uint32_t>(n->label_id());
    auto it = source_labels_.find(number);
    if (it == source_labels_.end())
        fail("jump to label " + std::to_string(number) + ", which the function does not define");
    return it->second;
}

bool FUNCTION_GEN::label_follows(uint32_t label, size_t at) const {
    for (size_t i = at + 1; i < statements_.size() && statements_[i].what == STATEMENT::LABEL_HERE; ++i)
        if (source_labels_.at(statements_[i].label) == label) return true;
    return false;
}

void FUNCTION_GEN::branch_to(uint32_t label, size_t at) {
    if (label_follows(label, at)) return;
    count(C_br_total);
    jump(B_JMP, 0, 0, 0, label, true);
}

// CBRANCH jumps if the condition is zero. If it only skips a BRANCH, the two are one branch with the other sense.
void FUNCTION_GEN::cbranch_statement(NODE* n, size_t& at) {
    NODE* cond = operand(n);
    uint32_t target = label_of(operand(n, true));
    if (at + 1 < statements_.size() && statements_[at + 1].what == STATEMENT::TREE &&
        statements_[at + 1].tree->op == BRANCH && label_follows(target, at + 1)) {
        uint32_t beyond = label_of(operand(statements_[at + 1].tree));
        condition(cond, true, beyond);
        ++at;
        return;
    }
    condition(cond, false, target);
}

void FUNCTION_GEN::switch_statement(NODE* n, size_t at) {
    VALUE selector = value(operand(n));
    if (!is_integer_kind(selector.kind)) fail("SWITCH on what is no integer");
    VKIND k = selector.kind;
    selector = in_slot(selector);
    count(C_br_total);
    JUMP_TABLE table;
    uint32_t end = new_label();
    table.otherwise = end; // without DEFAULT control falls through
    auto target = [&](NODE* label) {
        uint32_t l = label_of(label);
        if (!unit_.options.count || label_follows(l, at)) return l;
        auto [it, is_new] = stub_of_.try_emplace(l, 0);
        if (is_new) {
            it->second = new_label();
            stubs_.push_back({it->second, l});
        }
        return it->second;
    };
    bool has_default = false;
    for (NODE* c : list_items(operand(n, true))) {
        if (c->op == DEFAULT) {
            if (has_default) fail("SWITCH with two DEFAULTs");
            has_default = true;
            table.otherwise = target(operand(c));
        } else if (c->op == CASE && operand(c)->op == ICON) {
            VKIND ck = scalar_kind(c->left);
            int64_t v = converted_constant(normalized(c->left->u.lval.to_i64(), ck), ck, k);
            table.cases.emplace_back(v, target(operand(c, true)));
        } else {
            fail("SWITCH with what is no CASE");
        }
    }
    std::stable_sort(table.cases.begin(), table.cases.end(), [](auto& a, auto& b) { return a.first < b.first; });
    for (size_t i = 1; i < table.cases.size(); ++i)
        if (table.cases[i].first == table.cases[i - 1].first)
            fail("SWITCH with two CASEs of " + std::to_string(table.cases[i].first));
    emit(B_SELECT, selector.slot).x = static_cast<int32_t>(out_.tables.size());
    out_.tables.push_back(std::move(table));
    bind(end);
}

// The counter goes down by one; the loop goes on while it is not negative.
void FUNCTION_GEN::end_loop_statement(NODE* n) {
    LVALUE lv = lvalue(operand(n));
    if (!is_integer_kind(lv.kind)) fail("ENDLOOP with a counter that is no integer");
    VALUE v = operate(MINUS, lv.kind, load(lv), VALUE::of(1, lv.kind), no_slot);
    store(lv, v);
    count(C_ialu);
    count(C_cmp);
    count(C_br_total);
    VKIND k = lv.kind;
    if (k == V_UH || k == V_UW || k == V_UL) { // never negative
        jump(B_JMP, 0, 0, 0, label_of(operand(n, true)), true);
        return;
    }
    jump(B_JGE_RI, v.slot, 0, 0, label_of(operand(n, true)), true);
}

void FUNCTION_GEN::return_statement(NODE* n) {
    count_node();
    const SIGNATURE& s = out_.signature;
    if (n->op == URETURN) {
        count(C_returns);
        emit(B_RET_VOID);
        close_block();
        return;
    }
    NODE* result = operand(n, true);
    if (s.result == V_VOID) {
        effect(result);
        count(C_returns);
        emit(B_RET_VOID);
    } else if (s.result == V_BLOCK) {
        if (kind_of(result->type) != V_BLOCK || units_of(result->type) != s.result_units)
            fail("RETURN of another type than the function's");
        PLACE from = place_of_object(result);
        copy_block(place_at(VALUE::in(result_slot_, V_UW)), from, s.result_units);
        count(C_returns);
        emit(B_RET_VOID);
    } else {
        if (kind_of(result->type) == V_BLOCK && !result->type->is_array())
            fail("RETURN of another type than the function's");
        VALUE v = in_slot(coerced(value(result), s.result, n));
        count(C_returns);
        emit(B_RET, v.slot);
    }
    close_block();
}

void FUNCTION_GEN::effect(NODE* n) {
    if (++depth_ > max_depth) fail("expression nests too deeply");
    int keep = top_;
    std::vector<NODE*> work{n};
    while (!work.empty()) {
        n = work.back();
        work.pop_back();
        if (n->op == COMMAOP || n->op == PCOMMA) {
            work.push_back(operand(n, true));
            work.push_back(operand(n));
            continue;
        }
        if (n->op == SCONV && n->type != nullptr && n->type->is_void()) {
            work.push_back(operand(n));
            continue;
        }
        switch (opcode_class(n->op)) {
        case CLASS_ASG:
            count_node();
            assign(n, false, no_slot);
            break;
        case CLASS_OP_ASG:
            count_node();
            op_assign(n, false, no_slot);
            break;
        case CLASS_INCREMENT:
            count_node();
            post_step(n, false, no_slot);
            break;
        case CLASS_COPY: assign_block(n); break;
        case CLASS_LVALUE:
            // A struct whose value nobody takes; a scalar is read, as it may be volatile.
            if (kind_of(n->type) == V_BLOCK || kind_of(n->type) == V_VOID || kind_of(n->type) == V_FUNC) break;
            value(n);
            break;
        case CLASS_CALL:
            count_node();
            if (kind_of(n->type) == V_BLOCK)
                call_block(n);
            else
                call(n, no_slot);
            break;
        default:
            if (n->op == NOP) break;
            if (n->op == NASSERT) {
                if (!unit_.options.check_asserts) break;
                uint32_t holds = new_label();
                condition(operand(n), true, holds);
                stop("assertion of the file does not hold");
                bind(holds);
                break;
            }
            if (n->type != nullptr && kind_of(n->type) == V_BLOCK && n->op != UAND)
                place_of_object(n);
            else
                value(n);
        }
        top_ = keep;
    }
    --depth_;
}

// A statement's tree. Returns the number of the last statement that it took in.
size_t FUNCTION_GEN::tree_statement(NODE* n, size_t at) {
    switch (n->op) {
    case BRANCH:
        count_node();
        branch_to(label_of(operand(n)), at);
        break;
    case CBRANCH:
        count_node();
        cbranch_statement(n, at);
        break;
    case SWITCH:
        count_node();
        switch_statement(n, at);
        break;
    case RETURN:
    case URETURN: return_statement(n); break;
    case LOOP: bind(label_of(operand(n, true))); break;
    case ENDLOOP:
        count_node();
        end_loop_statement(n);
        break;
    case LABEL:
    case FIELD:
    case COLON:
    case COMMA:
    case CASE:
    case DEFAULT:
    case SKIP:
    case ENDINIT: fail(std::string(opname(n->op)) + " as a statement");
    default: effect(n);
    }
    return at;
}

size_t FUNCTION_GEN::statement(size_t at) {
    STATEMENT& s = statements_[at];
    if (s.what == STATEMENT::LABEL_HERE) {
        bind(source_labels_.at(s.label));
        return at;
    }
    psn_ = s.psn;
    position_ = position_number(s.psn);
    if (s.what == STATEMENT::ASSEMBLY) {
        stop("assembly text cannot be executed");
        return at;
    }
    ++statement_number_;
    if (s.nested_effects) mark_hazards(s.tree);
    top_ = first_temp_;
    frame_top_ = frame_locals_;
    statement_objects_.clear();
    at = tree_statement(s.tree, at);
    // The statement's temporaries go out of use, so that a pointer that outlives them is found.
    for (size_t i = 0; i + 1 < statement_objects_.size(); i += 2) {
        INSN& free = emit(B_SET_STATE, UNIT_FREE);
        free.x = static_cast<int32_t>(statement_objects_[i]);
        free.y = static_cast<int32_t>(statement_objects_[i + 1]);
    }
    return at;
}

void FUNCTION_GEN::compile() {
    psn_ = source_.psn;
    position_ = position_number(source_.psn);
    prepare_locals();
    scan_statements();
    place_locals();
    for (const STATEMENT& s : statements_) {
        uint32_t number = s.label;
        if (s.what == STATEMENT::TREE) {
            if (s.tree->op != LOOP) continue;
            psn_ = s.psn;
            if (operand(s.tree, true)->op != LABEL) fail("LOOP without label");
            number = static_cast<uint32_t>(s.tree->right->label_id());
        } else if (s.what != STATEMENT::LABEL_HERE) {
            continue;
        }
        if (!source_labels_.emplace(number, new_label()).second) {
            psn_ = s.psn;
            fail("label " + std::to_string(number) + " is defined twice");
        }
    }
    for (size_t i = 0; i < statements_.size(); ++i) i = statement(i);
    finish();
}

void FUNCTION_GEN::finish() {
    psn_ = source_.end_psn;
    position_ = position_number(source_.end_psn);
    // Falling off the end is a return; main gives 0 then.
    if (out_.name == "main" && is_scalar_kind(out_.signature.result)) {
        top_ = first_temp_;
        int zero = new_slot();
        emit_imm(B_MOVI, zero, 0, 0);
        count(C_returns);
        emit(B_RET, zero);
    } else {
        count(C_returns);
        emit(B_RET_VOID);
    }
    for (size_t i = 0; i < stubs_.size(); ++i) {
        bind(stubs_[i].label);
        count(C_br_taken);
        jump(B_JMP, 0, 0, 0, stubs_[i].target, false);
    }
    auto resolve = [&](int64_t label) {
        int64_t at = label_at_[static_cast<size_t>(label)];
        if (at < 0) fail("label without place");
        return static_cast<int32_t>(at);
    };
    for (INSN& i : code_) {
        if (i.op >= B_JEQ_RR && i.op <= B_JMP) i.y = resolve(i.y);
        if (i.op == B_BLOCK_STEPS) {
            const BLOCK_COUNT& block = unit_.program.blocks[static_cast<size_t>(i.x)];
            i.y = static_cast<int32_t>(std::max(block.nodes, 1u));
        }
    }
    for (JUMP_TABLE& t : out_.tables) {
        for (auto& c : t.cases) c.second = static_cast<uint32_t>(resolve(c.second));
        t.otherwise = static_cast<uint32_t>(resolve(t.otherwise));
    }
    uint32_t slots = static_cast<uint32_t>(std::max(most_slots_, 1));
    slots = std::max(slots, out_.signature.slots());
    if (!settle_checks(code_, position_of_, out_.tables, slots)) fail("function too large");
    for (JUMP_TABLE& t : out_.tables) t.make_dense();
    out_.slots = slots + 1;
    out_.frame_units = (most_frame_ + 15) & ~15u;
    if (most_frame_ != 0) out_.frame_units += MEMORY::gap;
    out_.code = std::move(code_);
    out_.position_of = std::move(position_of_);
}
