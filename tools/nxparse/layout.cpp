// Record layout.
//
// Members stand in order, each at the next multiple of its alignment. A bit-field of width w takes the next w bits if
// it does not cross a multiple of the size of its declared type, else it starts at the next multiple; width 0 closes
// the unit. Named members give the record their alignment; the size is rounded up to it. A union's members stand at 0.
#include "model.h"

using namespace clang;

static uint64_t round_up(uint64_t n, uint64_t to) { return (n + to - 1) / to * to; }

MODEL::MEASURE MODEL::measure(QualType q, SourceLocation where) {
    const Type* t = q.getTypePtr();
    if (const auto* td = dyn_cast<TypedefType>(t))
        if (td->getDecl()->getTypeSourceInfo() != nullptr)
            return measure(td->getDecl()->getTypeSourceInfo()->getTypeLoc());
    if (const auto* r = t->getAs<RecordType>()) {
        const RecordDecl* d = r->getDecl()->getDefinition();
        if (d == nullptr) refuse(where, "the size of an incomplete type is needed");
        const LAYOUT& l = layout(d);
        return {l.size, l.align};
    }
    if (t->isAnyPointerType()) return {32, 32};
    // Nothing else refers to a record, so its TYPE may be made.
    TYPE* scalar = type_of(q, where);
    return {scalar->size_bits, scalar->align_bits};
}

MODEL::MEASURE MODEL::measure(TypeLoc loc) {
    switch (loc.getTypeLocClass()) {
    case TypeLoc::Qualified: return measure(loc.castAs<QualifiedTypeLoc>().getUnqualifiedLoc());
    case TypeLoc::Paren: return measure(loc.castAs<ParenTypeLoc>().getInnerLoc());
    case TypeLoc::Elaborated: return measure(loc.castAs<ElaboratedTypeLoc>().getNamedTypeLoc());
    case TypeLoc::Attributed: return measure(loc.castAs<AttributedTypeLoc>().getModifiedLoc());
    case TypeLoc::MacroQualified: return measure(loc.castAs<MacroQualifiedTypeLoc>().getInnerLoc());
    case TypeLoc::Typedef: {
        const TypedefNameDecl* d = loc.castAs<TypedefTypeLoc>().getTypedefNameDecl();
        if (d->getTypeSourceInfo() != nullptr) return measure(d->getTypeSourceInfo()->getTypeLoc());
        break;
    }
    case TypeLoc::IncompleteArray: return {0, measure(loc.castAs<ArrayTypeLoc>().getElementLoc()).align};
    case TypeLoc::ConstantArray: {
        auto a = loc.castAs<ArrayTypeLoc>();
        MEASURE elem = measure(a.getElementLoc());
        uint64_t size = 0;
        if (__builtin_mul_overflow(array_count(a), elem.size, &size) || size > 0xFFFFFFF0u)
            refuse(loc.getBeginLoc(), "array is too large");
        return {size, elem.align};
    }
    default: break;
    }
    return measure(loc.getType(), loc.getBeginLoc());
}

void MODEL::place_member(const FieldDecl* f, bool is_union, LAYOUT& l, uint64_t& next) {
    if (f->hasAttr<AlignedAttr>()) refuse(f->getLocation(), "attribute 'aligned' on a member is not supported");
    if (f->hasAttr<PackedAttr>()) refuse(f->getLocation(), "attribute 'packed' is not supported");
    MEASURE m = measure(f->getTypeSourceInfo()->getTypeLoc());
    uint64_t at = is_union ? 0 : next;
    uint64_t width = m.size;
    if (f->isBitField()) {
        llvm::APSInt w = int_constant(f->getBitWidth(), "width of a bit-field");
        if (w.getExtValue() < 0 || w.getZExtValue() > m.size)
            refuse(f->getLocation(), "width of the bit-field exceeds its type");
        width = w.getZExtValue();
        // Clang has promoted the field's values by the width that it sees.
        auto promotion = [](uint64_t w) { return w < 32 ? 0 : w == 32 ? 1 : 2; };
        if (promotion(width) != promotion(f->getBitWidthValue(ctx)))
            refuse(f->getLocation(), "the width of this bit-field depends on the width of char");
        if (width == 0 || at / m.size != (at + width - 1) / m.size) at = round_up(at, m.size);
    } else {
        at = round_up(at, m.align);
    }
    if (!f->isUnnamedBitfield() && m.align > l.align) l.align = m.align;
    l.places.push_back({f, at, uint32_t(width)});
    next = at + width;
    if (next > l.size) l.size = next;
    if (l.size > 0xFFFFFF00u) refuse(f->getLocation(), "record is too large");
}

const LAYOUT& MODEL::layout(const RecordDecl* d) {
    auto found = layouts_.find(d);
    if (found != layouts_.end()) return found->second;
    if (d->hasAttr<PackedAttr>()) refuse(d->getLocation(), "attribute 'packed' is not supported");
    if (d->hasAttr<MaxFieldAlignmentAttr>()) refuse(d->getLocation(), "'#pragma pack' is not supported");
    if (d->hasAttr<AlignedAttr>()) refuse(d->getLocation(), "attribute 'aligned' on a type is not supported");
    LAYOUT l;
    uint64_t next = 0;
    for (const FieldDecl* f : d->fields()) place_member(f, d->isUnion(), l, next);
    l.size = round_up(l.size, l.align);
    return layouts_.emplace(d, std::move(l)).first->second;
}

TYPE* MODEL::record_type(const RecordDecl* any) {
    const RecordDecl* d = any->getDefinition();
    if (d == nullptr) d = cast<RecordDecl>(any->getCanonicalDecl());
    auto found = records_.find(d);
    if (found != records_.end()) return found->second;
    bool defined = d->isCompleteDefinition();
    uint32_t size = 0, align = 0;
    if (defined) {
        const LAYOUT& l = layout(d);
        size = uint32_t(l.size);
        align = l.align;
        found = records_.find(d); // a bound inside the record may have asked for the type
        if (found != records_.end()) return found->second;
    }
    std::string name = unique_tag(d->getName().str());
    TYPE* t = d->isUnion() ? tp->mk_union(name.c_str(), size, align, false, 0, defined, false, false)
                           : tp->mk_struct(name.c_str(), size, align, false, 0, defined, false, false);
    records_[d] = t;
    if (defined) {
        unsigned anonymous = 0;
        for (const LAYOUT::PLACE& p : layout(d).places) {
            MEMBER& m = members_[p.field];
            m.type = type_of_decl(p.field);
            m.offset = p.offset;
            m.width = p.width;
            m.bitfield = p.field->isBitField();
            if (p.field->isUnnamedBitfield()) continue;
            if (m.bitfield && m.type->is_enum()) // its values have the sign that Clang gives them
                m.type = enum_value_type(p.field->getType(), p.field->getLocation());
            std::string label = p.field->getName().str();
            if (label.empty()) label = "__anon" + std::to_string(anonymous++);
            m.mdata = tp->add_member(
                t, std::make_unique<fkMDATA>(label.c_str(), m.type, int32_t(p.offset), p.width, m.bitfield));
        }
    }
    TYPE* frozen = t;
    tp->type_frozen(frozen);
    if (frozen != t) records_[d] = frozen;
    return frozen;
}

const MEMBER& MODEL::member(const FieldDecl* f) {
    record_type(f->getParent());
    return members_.at(f);
}
