// Initialisers. An initialiser is first taken apart into leaves in ascending order of their place; for static storage
// they become the nodes of a record 105, for locals assignments, or a copy of a static constant and assignments.
#include "front.h"

using namespace clang;

namespace {

// Up to this many assignments initialise a local; more make a static constant that is copied.
constexpr unsigned max_leaf_assignments = 8;
// A text of this many characters or more is not padded with zeros, but goes through a static constant.
constexpr uint64_t max_padded_text = 1024;

bool is_character(TYPE* t) { return t->is_integral() && t->stqs()->ikind <= TYPE::I_UCHAR && !t->is_bool(); }

// Number of scalars in the type, counted no further than `limit`.
unsigned count_scalars(TYPE* t, unsigned limit) {
    t = t->stqs();
    if (t->is_array()) {
        unsigned each = count_scalars(t->elem_type(), limit);
        uint64_t all = uint64_t{each} * t->elem_count();
        return all > limit ? limit : unsigned(all);
    }
    if (!t->is_csu()) return 1;
    unsigned n = 0;
    for (const auto& member : t->get_csu()->csu->members) {
        n += count_scalars(member->type, limit);
        if (t->is_union() || n >= limit) break;
    }
    return n > limit ? limit : n;
}

} // namespace

// ---------------------------------------------------------------------------------------------------------- leaves

void FRONT::collect_list(const InitListExpr* list, TYPE* t, uint64_t bit, std::vector<STEP>& path, LEAVES& leaves) {
    if (list->isSyntacticForm() && list->getSemanticForm() != nullptr) list = list->getSemanticForm();
    if (list->isTransparent() || (t->is_array() && list->isStringLiteralInit())) {
        collect(list->getInit(0), t, bit, path, leaves);
        return;
    }
    if (t->is_array()) {
        TYPE* elem = t->elem_type();
        uint64_t count = t->elem_count();
        for (unsigned i = 0; i < list->getNumInits(); ++i) {
            const Expr* init = list->getInit(i);
            if (i >= count) {
                if (isa<ImplicitValueInitExpr>(init)) continue;
                m.refuse(init->getExprLoc(),
                         "more initialisers than the array has elements here, where a char has 16 bits");
            }
            path.push_back({nullptr, i});
            collect(init, elem, bit + uint64_t{i} * elem->size_bits, path, leaves);
            path.pop_back();
        }
        if (list->getNumInits() < count) { // the rest is zero
            if (list->hasArrayFiller() && !isa<ImplicitValueInitExpr>(list->getArrayFiller()))
                if (const auto* fill = dyn_cast<InitListExpr>(list->getArrayFiller());
                    fill == nullptr || fill->getNumInits() != 0)
                    m.refuse(list->getExprLoc(), "this initialiser is not supported");
            for (uint64_t i = list->getNumInits(); i < count && i <= list->getNumInits() + max_leaf_assignments; ++i) {
                LEAF zero;
                zero.bit = bit + i * elem->size_bits;
                zero.type = elem;
                zero.path = path;
                zero.path.push_back({nullptr, i});
                leaves.list.push_back(std::move(zero)); // enough of them to be counted, if not all
            }
        }
        return;
    }
    const RecordDecl* record = list->getType()->castAs<RecordType>()->getDecl()->getDefinition();
    if (record->isUnion()) {
        const FieldDecl* f = list->getInitializedFieldInUnion();
        if (f == nullptr || list->getNumInits() == 0) {
            LEAF zero;
            zero.bit = bit;
            zero.type = t;
            zero.path = path;
            leaves.list.push_back(std::move(zero));
            leaves.needs_zero = true;
            return;
        }
        const MEMBER& member = m.member(f);
        if (member.width < t->size_bits) leaves.needs_zero = true;
        path.push_back({f, 0});
        size_t at = leaves.list.size();
        collect(list->getInit(0), member.type, bit, path, leaves);
        if (member.bitfield)
            for (; at < leaves.list.size(); ++at) leaves.list[at].bitfield = f;
        path.pop_back();
        return;
    }
    unsigned i = 0;
    for (const FieldDecl* f : record->fields()) {
        if (f->isUnnamedBitfield()) continue;
        const MEMBER& member = m.member(f);
        path.push_back({f, 0});
        size_t at = leaves.list.size();
        if (i < list->getNumInits()) {
            if (member.type->is_array() && !member.type->descriptor->array->complete) {
                if (!isa<ImplicitValueInitExpr>(list->getInit(i)))
                    m.refuse(list->getInit(i)->getExprLoc(),
                             "the initialisation of a flexible array member is not supported");
            } else {
                collect(list->getInit(i), member.type, bit + member.offset, path, leaves);
            }
        }
        if (member.bitfield)
            for (; at < leaves.list.size(); ++at) leaves.list[at].bitfield = f;
        path.pop_back();
        ++i;
    }
}

void FRONT::collect(const Expr* init, TYPE* t, uint64_t bit, std::vector<STEP>& path, LEAVES& leaves) {
    const Expr* e = init->IgnoreParens();
    if (const auto* c = dyn_cast<ConstantExpr>(e)) e = c->getSubExpr()->IgnoreParens();
    if (const auto* list = dyn_cast<InitListExpr>(e))
        if (t->is_array() || t->is_csu()) {
            collect_list(list, t, bit, path, leaves);
            return;
        }
    if (isa<NoInitExpr>(e)) return;
    if (const auto* update = dyn_cast<DesignatedInitUpdateExpr>(e)) { // .p = value, .p.x = part of it
        collect(update->getBase(), t, bit, path, leaves);
        size_t at = leaves.list.size();
        collect(update->getUpdater(), t, bit, path, leaves);
        for (; at < leaves.list.size(); ++at) leaves.list[at].late = true;
        return;
    }
    LEAF leaf;
    leaf.bit = bit;
    leaf.type = t;
    leaf.path = path;
    if (t->is_array()) {
        if (const auto* p = dyn_cast<PredefinedExpr>(e)) e = p->getFunctionName();
        leaf.text = dyn_cast<StringLiteral>(e);
        if (leaf.text == nullptr) {
            if (const auto* c = dyn_cast<CompoundLiteralExpr>(e->IgnoreParenImpCasts())) { // an extension
                collect(c->getInitializer(), t, bit, path, leaves);
                return;
            }
            if (!isa<ImplicitValueInitExpr>(e))
                m.refuse(e->getExprLoc(), "this initialiser of an array is not supported");
        } else if (leaf.text->getLength() > t->elem_count()) {
            m.refuse(e->getExprLoc(), "the string is longer than the array");
        }
    } else if (!isa<ImplicitValueInitExpr>(e)) {
        leaf.init = e;
    }
    leaves.list.push_back(std::move(leaf));
}

// ---------------------------------------------------------------------------------------------------- static storage

NODE* FRONT::constant_node(const CVAL& v, TYPE* to, SourceLocation where) {
    to = m.value_type(to);
    if (v.kind != CVAL::ADDR || (v.decl == nullptr && v.literal == nullptr)) return constant(v);
    NODE* base = nullptr;
    const Expr* literal = v.literal;
    if (const auto* p = dyn_cast_or_null<PredefinedExpr>(literal)) literal = p->getFunctionName();
    if (const auto* s = dyn_cast_or_null<StringLiteral>(literal)) {
        base = string_address(s, m.decayed(m.type_of_expr(s)));
    } else {
        SYMTAB* sym = nullptr;
        if (v.decl != nullptr) {
            sym = symbol_of(cast<ValueDecl>(v.decl));
        } else {
            PLACE p = literal_place(cast<CompoundLiteralExpr>(literal));
            sym = p.node->u.sym;
            erase_tree(p.node);
        }
        TYPE* pointer = sym->type->is_array() ? m.decayed(sym->type) : m.pointer_to(sym->type);
        base = node1(UAND, pointer, name_of(sym, sym->type));
    }
    if (v.units != 0) base = node2(PLUS, base->type->stqs(), base, icon(v.units));
    (void)where;
    return convert(base, to);
}

// Nodes of a record 105, without the ENDINIT. With `not_constant`, leaves that are no constants are put there.
std::vector<NODE*> FRONT::initialiser_nodes(const LEAVES& leaves, std::vector<const LEAF*>* not_constant) {
    std::vector<NODE*> nodes;
    uint64_t here = 0;                 // units written
    std::map<uint64_t, uint32_t> bits; // units of bit-fields not written yet
    auto skip_to = [&](uint64_t unit) {
        if (unit > here) {
            NODE* n = node0(SKIP, nullptr);
            n->mk_skip(uint32_t(unit - here));
            nodes.push_back(n);
        }
        here = unit;
    };
    auto flush_bits = [&] {
        for (auto [unit, word] : bits) {
            skip_to(unit);
            nodes.push_back(icon(INT65(word), tp->ushort_type()));
            here = unit + 1;
        }
        bits.clear();
    };
    for (const LEAF& leaf : leaves.list) {
        uint64_t unit = leaf.bit / 16;
        if (leaf.late) {
            if (not_constant == nullptr)
                m.refuse(leaf.init != nullptr ? leaf.init->getExprLoc() : SourceLocation(),
                         "a designator that changes part of an earlier initialiser is not supported here");
            not_constant->push_back(&leaf);
            continue;
        }
        if (leaf.text != nullptr) {
            flush_bits();
            skip_to(unit);
            TYPE* elem = leaf.type->elem_type()->stqs();
            uint64_t count = std::min<uint64_t>(leaf.text->getLength() + 1, leaf.type->elem_count());
            if (std::string bytes; is_character(elem) && is_byte_text(leaf.text, bytes)) {
                bytes.resize(count, 0);
                nodes.push_back(scon(bytes, m.array_of(elem, count, leaf.text->getBeginLoc())));
            } else {
                std::vector<uint32_t> units = m.code_units(leaf.text);
                for (uint64_t i = 0; i < count; ++i)
                    nodes.push_back(icon(INT65(i < units.size() ? units[i] : 0u), elem));
            }
            here += count * (elem->size_bits / 16);
            continue;
        }
        if (leaf.init == nullptr) continue; // zero
        SourceLocation where = leaf.init->getExprLoc();
        CVAL v;
        TYPE* t = m.value_type(leaf.type);
        if (t->is_csu()) { // a compound literal for a whole record, as an extension
            const auto* literal = dyn_cast<CompoundLiteralExpr>(leaf.init->IgnoreParenImpCasts());
            if (literal == nullptr || not_constant != nullptr) {
                if (not_constant == nullptr) m.refuse(where, "initialiser is not a constant");
                not_constant->push_back(&leaf);
                continue;
            }
            LEAVES inner;
            std::vector<STEP> path = leaf.path;
            collect(literal->getInitializer(), leaf.type, leaf.bit, path, inner);
            flush_bits();
            skip_to(unit);
            for (LEAF& l : inner.list) l.bit -= leaf.bit;
            std::vector<NODE*> more = initialiser_nodes(inner, nullptr);
            for (NODE* n : more) {
                here += n->op == SKIP ? n->u.lval.low : n->type->size_bits / 16;
                nodes.push_back(n);
            }
            continue;
        }
        if (!m.eval(leaf.init, v) || !m.convert(v, t)) {
            if (not_constant == nullptr) m.refuse(where, "initialiser is not a constant");
            not_constant->push_back(&leaf);
            continue;
        }
        if (leaf.bitfield != nullptr) {
            const MEMBER& member = m.member(leaf.bitfield);
            uint64_t value = v.i.extOrTrunc(64).getZExtValue();
            for (uint32_t i = 0; i < member.width; ++i, value >>= 1) {
                uint32_t& word = bits[(leaf.bit + i) / 16];
                word |= uint32_t(value & 1) << ((leaf.bit + i) % 16);
            }
            continue;
        }
        flush_bits();
        skip_to(unit);
        NODE* n = constant_node(v, leaf.type, where);
        nodes.push_back(n);
        here = unit + n->type->size_bits / 16;
    }
    flush_bits();
    return nodes;
}

void FRONT::static_initialiser(SYMTAB* sym, TYPE* t, const Expr* init) {
    LEAVES leaves;
    std::vector<STEP> path;
    collect(init, t, 0, path, leaves);
    out.set_initialiser(sym, initialiser_nodes(leaves, nullptr));
}

// ---------------------------------------------------------------------------------------------------------- locals

NODE* FRONT::leaf_place(SYMTAB* sym, TYPE* t, const std::vector<STEP>& path) {
    NODE* n = name_of(sym, m.lvalue_type(t));
    for (const STEP& step : path) {
        if (step.field != nullptr) {
            const MEMBER& member = m.member(step.field);
            uint32_t quals = n->type->qual_kind() & 3;
            TYPE* mt = member.type->is_array() || quals == 0 ? member.type : tp->mk_qual(member.type, quals);
            n = node2(STDOT, m.lvalue_type(mt), n, field_of(member.mdata, m.record_type(step.field->getParent())));
            continue;
        }
        TYPE* elem = n->type->elem_type();
        NODE* base = address(n, m.pointer_to(elem));
        uint64_t units = step.index * (elem->size_bits / 16);
        if (units != 0) base = node2(PLUS, base->type, base, icon(int64_t(units)));
        n = node1(UMULT, m.lvalue_type(elem), base);
    }
    return n;
}

void FRONT::assign_zero(NODE* place, TYPE* t, std::vector<NODE*>& trees) {
    t = t->stqs();
    if (t->is_array()) {
        TYPE* elem = t->elem_type();
        for (uint32_t i = 0; i < t->elem_count(); ++i) {
            NODE* base = address(copy_tree(place), m.pointer_to(elem));
            if (i != 0) base = node2(PLUS, base->type, base, icon(int64_t{i} * (elem->size_bits / 16)));
            assign_zero(node1(UMULT, m.lvalue_type(elem), base), elem, trees);
        }
        erase_tree(place);
        return;
    }
    if (t->is_csu()) {
        for (const auto& member : t->get_csu()->csu->members) {
            NODE* n = node2(STDOT, m.lvalue_type(member->type), copy_tree(place), field_of(member.get(), t));
            assign_zero(n, member->type, trees);
            if (t->is_union()) break;
        }
        erase_tree(place);
        return;
    }
    TYPE* v = m.value_type(t);
    NODE* zero = v->is_fltpt() ? fcon("0", v) : v->is_ptr() ? node1(PCONV, v, icon(0)) : icon(INT65(0), v);
    trees.push_back(node2(ASG, v, place, zero));
}

void FRONT::assign_leaf(SYMTAB* sym, TYPE* t, const LEAF& leaf, std::vector<NODE*>& trees) {
    NODE* place = leaf_place(sym, t, leaf.path);
    if (leaf.text != nullptr) {
        TYPE* elem = leaf.type->elem_type();
        std::vector<uint32_t> units = m.code_units(leaf.text);
        for (uint32_t i = 0; i < leaf.type->elem_count(); ++i) {
            uint32_t code = i < units.size() ? units[i] : 0;
            NODE* base = address(copy_tree(place), m.pointer_to(elem));
            if (i != 0) base = node2(PLUS, base->type, base, icon(int64_t{i} * (elem->size_bits / 16)));
            trees.push_back(
                node2(ASG, m.value_type(elem), node1(UMULT, elem, base), icon(INT65(code), m.value_type(elem))));
        }
        erase_tree(place);
        return;
    }
    if (leaf.init == nullptr) {
        assign_zero(place, leaf.type, trees);
        return;
    }
    if (leaf.type->is_csu()) {
        PLACE from = struct_value(leaf.init);
        trees.push_back(sequence(from.pre, node2(STASG, leaf.type->stqs(), place, from.node)));
        return;
    }
    TYPE* v = m.value_type(place->type);
    trees.push_back(node2(ASG, v, place, convert(value(leaf.init), v)));
}

NODE* FRONT::memcpy_tree(NODE* to, NODE* from, uint32_t units) {
    TYPE* vp = tp->void_ptr;
    NODE* list =
        chain(COMMA, {convert(to, vp), convert(from, vp), icon(INT65(units), tp->uint_type())}, tp->int_type());
    return node1(MEMCPY, vp, list);
}

// char a[n] = "text"
void FRONT::text_initialiser(SYMTAB* sym, TYPE* t, const StringLiteral* s, std::vector<NODE*>& trees) {
    uint64_t count = t->elem_count();
    NODE* to = node1(UAND, m.decayed(t), name_of(sym, t));
    if (std::string bytes; is_character(t->elem_type()) && count < max_padded_text && is_byte_text(s, bytes)) {
        bytes.resize(std::max<uint64_t>(count, s->getLength() + 1), 0);
        trees.push_back(memcpy_tree(to, scon(bytes, m.pointer_to(tp->char_type())), uint32_t(count)));
        return;
    }
    erase_tree(to);
    LEAVES leaves;
    LEAF leaf;
    leaf.type = t;
    leaf.text = s;
    leaves.list.push_back(leaf);
    initialise_by_copy(sym, t, leaves, trees, s->getBeginLoc());
}

void FRONT::initialise_by_copy(SYMTAB* sym, TYPE* t, const LEAVES& leaves, std::vector<NODE*>& trees,
                               SourceLocation where) {
    std::vector<const LEAF*> rest;
    std::vector<NODE*> nodes = initialiser_nodes(leaves, &rest);
    TYPE* constant_type = t->is_array() ? tp->mk_array(tp->mk_qual(t->elem_type(), QUAL_CONST), t->elem_count(),
                                                       t->size_bits, t->align_bits, false, true)
                                        : tp->mk_qual(t->stqs(), QUAL_CONST);
    SYMTAB* origin = hidden_static(std::string("_") + sym->name, constant_type, where);
    out.set_initialiser(origin, std::move(nodes));
    if (t->is_array())
        trees.push_back(memcpy_tree(node1(UAND, m.decayed(t), name_of(sym, t)),
                                    node1(UAND, m.decayed(constant_type), name_of(origin, constant_type)), m.units(t)));
    else
        trees.push_back(node2(STASG, t->stqs(), name_of(sym, t), name_of(origin, constant_type)));
    for (const LEAF* leaf : rest) assign_leaf(sym, t, *leaf, trees);
}

void FRONT::auto_initialiser(SYMTAB* sym, TYPE* t, const Expr* init, std::vector<NODE*>& trees) {
    if (!t->is_array() && !t->is_csu()) {
        TYPE* v = m.value_type(t);
        trees.push_back(node2(ASG, v, name_of(sym, m.lvalue_type(t)), convert(value(init), v)));
        return;
    }
    LEAVES leaves;
    std::vector<STEP> path;
    collect(init, t, 0, path, leaves);
    if (leaves.list.size() == 1 && leaves.list[0].path.empty()) {
        const LEAF& only = leaves.list[0];
        if (only.text != nullptr) return text_initialiser(sym, t, only.text, trees);
        if (only.init != nullptr) return assign_leaf(sym, t, only, trees);
    }
    unsigned n = 0;
    for (const LEAF& leaf : leaves.list) {
        if (leaf.init != nullptr)
            ++n;
        else if (leaf.text != nullptr)
            n += unsigned(std::min<uint64_t>(leaf.type->elem_count(), max_leaf_assignments + 1));
        else
            n += count_scalars(leaf.type, max_leaf_assignments + 1);
        if (n > max_leaf_assignments) break;
    }
    if (leaves.needs_zero || n > max_leaf_assignments) {
        initialise_by_copy(sym, t, leaves, trees, init->getExprLoc());
        return;
    }
    for (const LEAF& leaf : leaves.list) assign_leaf(sym, t, leaf, trees);
}
