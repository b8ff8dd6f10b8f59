// Statements.
#include "front.h"

using namespace clang;

// A switch may list at most this many values through GNU case ranges.
static constexpr uint64_t max_case_range = 4096;

// ------------------------------------------------------------------------------------------------------ the block

void FRONT::add(NODE* tree, SourceLocation where) {
    if (tree == nullptr) return;
    ITEM item;
    item.tree = tree;
    item.psn = position(where);
    block().items.push_back(std::move(item));
}

void FRONT::add_label(uint32_t n) {
    ITEM item;
    item.label = n;
    block().items.push_back(std::move(item));
}

void FRONT::branch(uint32_t n, SourceLocation where) { add(node1(BRANCH, tp->int_type(), label_ref(n)), where); }

void FRONT::branch_if_zero(NODE* cond, uint32_t n, SourceLocation where) {
    add(node2(CBRANCH, tp->int_type(), cond, label_ref(n)), where);
}

uint32_t FRONT::label_of(const LabelDecl* d) {
    uint32_t& n = labels[d];
    if (n == 0) n = new_label();
    return n;
}

void FRONT::open_block(SourceLocation begin) {
    body->blocks.emplace_back();
    BLOCK* b = &body->blocks.back();
    b->begin = position(begin);
    ITEM item;
    item.block = b;
    block().items.push_back(std::move(item));
    open_blocks.push_back(b);
}

void FRONT::close_block(SourceLocation end) {
    block().end = position(end);
    open_blocks.pop_back();
}

// ------------------------------------------------------------------------------------------------ effects of
// expressions

void FRONT::conditional_effect(const AbstractConditionalOperator* e) {
    uint32_t otherwise = new_label(), end = new_label();
    branch_if_zero(condition(e->getCond()), otherwise, e->getBeginLoc());
    effect(e->getTrueExpr());
    branch(end, e->getBeginLoc());
    add_label(otherwise);
    effect(e->getFalseExpr());
    add_label(end);
}

void FRONT::effect(const Expr* e) {
    e = e->IgnoreParens();
    SourceLocation where = e->getBeginLoc();
    if (const auto* b = dyn_cast<BinaryOperator>(e)) {
        if (b->getOpcode() == BO_Comma) {
            effect(b->getLHS());
            effect(b->getRHS());
            return;
        }
    }
    if (const auto* c = dyn_cast<CastExpr>(e))
        if (c->getCastKind() == CK_ToVoid) {
            effect(c->getSubExpr());
            return;
        }
    if (const auto* c = dyn_cast<ConditionalOperator>(e))
        if (!c->getType()->isRecordType() && c->HasSideEffects(ctx)) {
            conditional_effect(c);
            return;
        }
    if (const auto* u = dyn_cast<UnaryOperator>(e); u != nullptr && u->isIncrementDecrementOp()) {
        // The old value of an integer or pointer costs nothing.
        TYPE* t = m.value_type(m.type_of_expr(u->getSubExpr()));
        bool plain = t->is_ptr() || (t->is_integral() && !t->is_bool());
        add(increment(u, plain), where);
        return;
    }
    NODE* n = effect_tree(e);
    // What must come first stands as statements of its own.
    std::vector<NODE*> parts;
    while (n != nullptr && n->op == COMMAOP) {
        NODE* left = n->left;
        NODE* right = n->right;
        n->left = n->right = nullptr;
        erase_tree(n);
        parts.push_back(right);
        n = left;
    }
    if (n != nullptr) parts.push_back(n);
    for (size_t i = parts.size(); i-- > 0;) {
        NODE* part = parts[i];
        bool dead =
            i == 0 && parts.size() > 1 && (part->op == NAME || part->op == ICON) && part->type->qual_kind() == 0;
        if (dead)
            erase_tree(part);
        else
            add(part, where);
    }
}

// ------------------------------------------------------------------------------------------------------ statements

void FRONT::statements_of(const CompoundStmt* s) {
    for (const Stmt* child : s->body()) stmt(child);
}

void FRONT::compound(const CompoundStmt* s) {
    bool declares = false;
    for (const Stmt* child : s->body()) declares = declares || isa<DeclStmt>(child);
    if (declares) open_block(s->getLBracLoc());
    statements_of(s);
    if (declares) close_block(s->getRBracLoc());
}

SYMTAB* FRONT::local_symbol(const VarDecl* v) {
    auto found = symbols.find(v->getCanonicalDecl());
    if (found != symbols.end()) return found->second;
    check_attributes(v);
    TYPE* t = m.type_of_decl(v);
    m.size_of(t, v->getLocation());
    SYMTAB* sym = out.local(v->getName().str(), t, SC_AUTO, position(v->getLocation()), alignment_of(v));
    block().locals.push_back(sym);
    symbols[v->getCanonicalDecl()] = sym;
    return sym;
}

void FRONT::decl_stmt(const DeclStmt* s) {
    for (const Decl* d : s->decls()) {
        if (const auto* assertion = dyn_cast<StaticAssertDecl>(d)) {
            top_level(assertion);
            continue;
        }
        if (const auto* t = dyn_cast<TypedefDecl>(d)) {
            m.type_of(t->getTypeSourceInfo());
            continue;
        }
        const auto* v = dyn_cast<VarDecl>(d);
        if (v == nullptr || v->hasExternalStorage()) continue;
        if (v->isStaticLocal()) {
            static_local(v);
            continue;
        }
        SYMTAB* sym = local_symbol(v);
        if (v->getInit() == nullptr) continue;
        std::vector<NODE*> trees;
        auto_initialiser(sym, sym->type, v->getInit(), trees);
        for (NODE* tree : trees) add(tree, v->getLocation());
    }
}

void FRONT::if_stmt(const IfStmt* s) {
    uint32_t otherwise = new_label();
    branch_if_zero(condition(s->getCond()), otherwise, s->getIfLoc());
    stmt(s->getThen());
    if (s->getElse() == nullptr) {
        add_label(otherwise);
        return;
    }
    uint32_t end = new_label();
    branch(end, s->getElseLoc());
    add_label(otherwise);
    stmt(s->getElse());
    add_label(end);
}

// The pragmas of a loop: those written in front of it, then its place in the source.
void FRONT::loop_header(const Stmt* s, const Expr* step, const Expr* cond, const char* kind) {
    const SourceManager& sources = ctx.getSourceManager();
    SourceLocation begin = sources.getExpansionLoc(s->getBeginLoc());
    for (; next_pragma < loop_pragmas.size() &&
           sources.isBeforeInTranslationUnit(sources.getExpansionLoc(loop_pragmas[next_pragma].where), begin);
         ++next_pragma) {
        ITEM item;
        item.pragma = std::make_unique<PRAGMA>(loop_pragmas[next_pragma].kind, loop_pragmas[next_pragma].strings);
        block().items.push_back(std::move(item));
    }
    std::string variable;
    auto named = [&](const Expr* e) {
        const auto* ref = e != nullptr ? dyn_cast<DeclRefExpr>(e->IgnoreParenImpCasts()) : nullptr;
        if (ref != nullptr && variable.empty() && isa<VarDecl>(ref->getDecl()))
            variable = ref->getDecl()->getName().str();
    };
    if (step != nullptr) {
        const Expr* x = step->IgnoreParens();
        if (const auto* u = dyn_cast<UnaryOperator>(x); u != nullptr && u->isIncrementDecrementOp())
            named(u->getSubExpr());
        if (const auto* b = dyn_cast<BinaryOperator>(x); b != nullptr && b->isAssignmentOp()) named(b->getLHS());
        if (variable.empty() && cond != nullptr)
            if (const auto* b = dyn_cast<BinaryOperator>(cond->IgnoreParens()); b != nullptr && b->isComparisonOp())
                named(b->getLHS());
    }
    auto line = [&](SourceLocation where) {
        PresumedLoc p = sources.getPresumedLoc(sources.getExpansionLoc(where));
        return std::to_string(p.isValid() ? p.getLine() : 0);
    };
    ITEM item;
    item.pragma = std::make_unique<PRAGMA>(
        PRAGMA::PRAGMA_SRC_LOOP,
        std::vector<std::string>{line(s->getBeginLoc()), line(s->getEndLoc()), variable, kind});
    block().items.push_back(std::move(item));
}

// Pragmas of loops in front of what is no loop have no meaning.
void FRONT::drop_pragmas(SourceLocation before) {
    const SourceManager& sources = ctx.getSourceManager();
    before = sources.getExpansionLoc(before);
    for (; next_pragma < loop_pragmas.size() &&
           sources.isBeforeInTranslationUnit(sources.getExpansionLoc(loop_pragmas[next_pragma].where), before);
         ++next_pragma)
        m.warn(loop_pragmas[next_pragma].where, "this pragma stands in front of no loop and is ignored");
}

void FRONT::while_stmt(const WhileStmt* s) {
    loop_header(s, nullptr, s->getCond(), "while");
    uint32_t top = new_label(), end = new_label();
    add_label(top);
    branch_if_zero(condition(s->getCond()), end, s->getWhileLoc());
    break_labels.push_back(end);
    continue_labels.push_back(top);
    stmt(s->getBody());
    break_labels.pop_back();
    continue_labels.pop_back();
    branch(top, s->getEndLoc());
    add_label(end);
}

// The condition turned round: true where `cond` is zero.
NODE* FRONT::inverse(NODE* cond) {
    int op = boolean_inv[cond->op];
    if (op != ILLOP && !cond->left->type->is_fltpt()) {
        NODE* n = node2(op, tp->int_type(), cond->left, cond->right);
        cond->left = cond->right = nullptr;
        erase_tree(cond);
        return n;
    }
    if (cond->op == EXCLAIM) {
        NODE* n = truth(cond->left);
        cond->left = nullptr;
        erase_tree(cond);
        return n;
    }
    return node1(EXCLAIM, tp->int_type(), cond);
}

void FRONT::do_stmt(const DoStmt* s) {
    loop_header(s, nullptr, s->getCond(), "do");
    uint32_t top = new_label(), test = new_label(), end = new_label();
    add_label(top);
    break_labels.push_back(end);
    continue_labels.push_back(test);
    stmt(s->getBody());
    break_labels.pop_back();
    continue_labels.pop_back();
    add_label(test);
    NODE* cond = condition(s->getCond());
    if (cond->op == ICON) { // once, or for ever
        if (!cond->u.lval.is_zero()) branch(top, s->getWhileLoc());
        erase_tree(cond);
    } else {
        branch_if_zero(inverse(cond), top, s->getWhileLoc());
    }
    add_label(end);
}

void FRONT::for_stmt(const ForStmt* s) {
    bool declares = s->getInit() != nullptr && isa<DeclStmt>(s->getInit());
    if (declares) open_block(s->getForLoc());
    if (s->getInit() != nullptr) {
        if (declares)
            decl_stmt(cast<DeclStmt>(s->getInit()));
        else
            effect(cast<Expr>(s->getInit()));
    }
    loop_header(s, s->getInc(), s->getCond(), "for");
    uint32_t test = new_label(), next = new_label(), end = new_label();
    add_label(test);
    if (s->getCond() != nullptr) branch_if_zero(condition(s->getCond()), end, s->getCond()->getBeginLoc());
    break_labels.push_back(end);
    continue_labels.push_back(next);
    stmt(s->getBody());
    break_labels.pop_back();
    continue_labels.pop_back();
    add_label(next);
    if (s->getInc() != nullptr) effect(s->getInc());
    branch(test, s->getForLoc());
    add_label(end);
    if (declares) close_block(s->getEndLoc());
}

void FRONT::switch_stmt(const SwitchStmt* s) {
    NODE* sel = value(s->getCond());
    TYPE* t = m.value_type(sel->type);
    uint32_t end = new_label(), otherwise = end;
    std::vector<const SwitchCase*> cases;
    for (const SwitchCase* c = s->getSwitchCaseList(); c != nullptr; c = c->getNextSwitchCase()) cases.push_back(c);
    std::vector<NODE*> list;
    std::map<int64_t, bool> seen;
    for (size_t i = cases.size(); i-- > 0;) {
        uint32_t here = new_label();
        case_labels[cases[i]] = here;
        if (isa<DefaultStmt>(cases[i])) {
            otherwise = here;
            continue;
        }
        const auto* c = cast<CaseStmt>(cases[i]);
        auto evaluate = [&](const Expr* e) {
            CVAL v;
            if (!m.eval(e, v) || v.kind != CVAL::INT || !m.convert(v, t))
                m.refuse(e->getExprLoc(), "case label is not an integer constant");
            return v.i;
        };
        llvm::APSInt first = evaluate(c->getLHS());
        llvm::APSInt last = c->getRHS() != nullptr ? evaluate(c->getRHS()) : first;
        if (last < first) continue;
        if (uint64_t((last - first).getZExtValue()) >= max_case_range)
            m.refuse(c->getCaseLoc(), "case range is too long");
        for (llvm::APSInt v = first;; ++v) {
            if (seen[v.getExtValue()]) m.refuse(c->getCaseLoc(), "duplicate case value, where a char has 16 bits");
            seen[v.getExtValue()] = true;
            list.push_back(
                node2(CASE, tp->int_type(), icon(INT65(static_cast<long long>(v.getExtValue())), t), label_ref(here)));
            if (v == last) break;
        }
    }
    if (list.empty()) {
        bool acts = s->getCond()->HasSideEffects(ctx);
        if (acts)
            add(sel, s->getSwitchLoc());
        else
            erase_tree(sel);
        branch(otherwise, s->getSwitchLoc());
    } else {
        uint32_t count = uint32_t(list.size());
        list.push_back(node1(DEFAULT, tp->int_type(), label_ref(otherwise)));
        NODE* n = node2(SWITCH, tp->int_type(), sel, chain(COMMA, list, tp->int_type()));
        n->mk_switch(count);
        add(n, s->getSwitchLoc());
    }
    break_labels.push_back(end);
    stmt(s->getBody());
    break_labels.pop_back();
    add_label(end);
}

void FRONT::return_stmt(const ReturnStmt* s) {
    SYMTAB* f = body->sym;
    const Expr* e = s->getRetValue();
    if (e == nullptr || return_type->is_void()) {
        if (e != nullptr) effect(e);
        add(node1(URETURN, tp->mk_void(), name_of(f, f->type)), s->getReturnLoc());
        return;
    }
    NODE* v = nullptr;
    TYPE* t = return_type->stqs();
    if (t->is_csu()) {
        PLACE p = struct_value(e);
        if (p.node->op == STASG) { // the value of an assignment: what was assigned
            SYMTAB* temp = temporary(t);
            p.pre = sequence(p.pre, node2(STASG, t, name_of(temp, t), p.node));
            p.node = name_of(temp, t);
        }
        add(p.pre, s->getReturnLoc());
        v = p.node;
    } else {
        t = m.value_type(t);
        v = convert(value(e), t);
    }
    add(node2(RETURN, t, name_of(f, f->type), v), s->getReturnLoc());
}

void FRONT::asm_stmt(const AsmStmt* s) {
    const auto* g = dyn_cast<GCCAsmStmt>(s);
    if (g == nullptr || g->getNumInputs() != 0 || g->getNumOutputs() != 0 || g->getNumLabels() != 0)
        m.refuse(s->getAsmLoc(), "assembly with operands is not supported");
    ITEM item;
    item.assembly = std::make_unique<std::string>(g->getAsmString()->getString().str());
    item.psn = position(s->getAsmLoc());
    block().items.push_back(std::move(item));
}

void FRONT::stmt(const Stmt* s) {
    // Labels and cases in a row are walked, not recursed into.
    for (;;) {
        if (const auto* l = dyn_cast<LabelStmt>(s)) {
            add_label(label_of(l->getDecl()));
            s = l->getSubStmt();
        } else if (const auto* c = dyn_cast<SwitchCase>(s)) {
            add_label(case_labels.at(c));
            s = c->getSubStmt();
        } else if (const auto* a = dyn_cast<AttributedStmt>(s)) {
            s = a->getSubStmt();
        } else {
            break;
        }
    }
    bool loop = isa<ForStmt>(s) || isa<WhileStmt>(s) || isa<DoStmt>(s);
    if (!loop && next_pragma < loop_pragmas.size()) drop_pragmas(s->getBeginLoc());
    switch (s->getStmtClass()) {
    case Stmt::NullStmtClass: return;
    case Stmt::CompoundStmtClass: return compound(cast<CompoundStmt>(s));
    case Stmt::DeclStmtClass: return decl_stmt(cast<DeclStmt>(s));
    case Stmt::IfStmtClass: return if_stmt(cast<IfStmt>(s));
    case Stmt::WhileStmtClass: return while_stmt(cast<WhileStmt>(s));
    case Stmt::DoStmtClass: return do_stmt(cast<DoStmt>(s));
    case Stmt::ForStmtClass: return for_stmt(cast<ForStmt>(s));
    case Stmt::SwitchStmtClass: return switch_stmt(cast<SwitchStmt>(s));
    case Stmt::ReturnStmtClass: return return_stmt(cast<ReturnStmt>(s));
    case Stmt::GotoStmtClass: return branch(label_of(cast<GotoStmt>(s)->getLabel()), s->getBeginLoc());
    case Stmt::BreakStmtClass: return branch(break_labels.back(), s->getBeginLoc());
    case Stmt::ContinueStmtClass: return branch(continue_labels.back(), s->getBeginLoc());
    case Stmt::GCCAsmStmtClass:
    case Stmt::MSAsmStmtClass: return asm_stmt(cast<AsmStmt>(s));
    case Stmt::IndirectGotoStmtClass: m.refuse(s->getBeginLoc(), "computed goto is not supported");
    default: break;
    }
    if (const auto* e = dyn_cast<Expr>(s)) return effect(e);
    m.refuse(s->getBeginLoc(), llvm::Twine("this statement is not supported (") + s->getStmtClassName() + ")");
}
