// The type that a node has when its text does not say one. Printer and parser ask the same function at the same place,
// so that what the one leaves out the other puts back.
#ifndef NXTEXT_NATURAL_H
#define NXTEXT_NATURAL_H

#include "scope.h"
#include "type_table.h"

namespace nxtext {

constexpr uint32_t no_type = UINT32_MAX; // there is no natural type; one must be written

// Derived types that a natural type may need. The printer only looks; the parser makes what is missing.
struct TYPE_SOURCE {
    const TYPE_TABLE& types;
    explicit TYPE_SOURCE(const TYPE_TABLE& t) : types(t) {}
    virtual ~TYPE_SOURCE() = default;
    virtual uint32_t pointer_to(uint32_t t) {
        const uint32_t found = types.find_pointer(t);
        return found != 0 ? found : no_type;
    }
    virtual uint32_t qualified(uint32_t t, uint32_t bits) {
        const uint32_t found = types.find_qualified(t, bits);
        return found != 0 ? found : no_type;
    }
    uint32_t basic(uint8_t kind) const {
        const uint32_t found = types.find_basic(kind);
        return found != 0 ? found : no_type;
    }
};

// Natural type of the node; its operands have their types. `expect` is the type that the surroundings want, 0 for none:
// only constants follow it. no_type where operands are odd or disagree; with `guess` the left operand's type instead.
uint32_t natural_type(const TREE&, int node, uint32_t expect, const SCOPE&, TYPE_SOURCE&, bool guess);

// What the right operand is expected to be. (The left one has the expectation of the node itself.)
uint32_t right_expectation(const TREE&, int node, uint32_t expect, const TYPE_TABLE&);
// What the operand of a one-operand node is expected to be.
uint32_t operand_expectation(int op, uint32_t expect);
// Parameter i of what is called, 0 if there is none.
uint32_t argument_expectation(uint32_t callee_type, size_t i, const TYPE_TABLE&);
// Arguments beyond the parameters of a variadic prototype.
uint32_t natural_extra_arguments(uint32_t callee_type, size_t arguments, const TYPE_TABLE&);

// The type of what stands at a place of an object, in bits from its begin: that of the scalar there, 0 if there is
// none. Bit-fields are initialised by whole units, so theirs is unsigned short.
uint32_t leaf_type(const TYPE_TABLE&, uint32_t object, uint64_t bit);
// How far a value of an initialiser steps on, in bits.
uint64_t initialiser_step(const ENODE&, const TYPE_TABLE&);

// The member that a FIELD under STDOT or STREF names, found by the left operand's type; null if it has no such.
uint32_t selected_struct(const TREE&, int node, const TYPE_TABLE&); // of the STDOT or STREF node; 0 if none

} // namespace nxtext

#endif
