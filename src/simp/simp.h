// The simplifier: rewrites one expression tree at a time into the canonical form that every pass relies on.
//
//   - operands are simplified before their operator, so the rules of an operator see canonical operands
//   - in a commutative operator a leaf, or the address of a named object, stands on the right; a constant is the
//     rightmost term of a chain, and the constants of a chain are one ICON
//   - chains of one associative operator lean left: (a op b) op c
//   - COMMAOP moves outward: an operand with an effect in front has the form COMMAOP(effect, value)
//   - the type of every node is its normalised type
//   - simple local variables are assigned with ASG; other lvalues prefer the assignment operators
//   - a value of which only the truth counts has no conversion, "!= 0" or arithmetic that leaves the truth alone
//
// A simplifier function takes a tree that it owns and gives the tree that replaces it; the argument may have been
// reused or erased. `loop`, if given, lets range queries use what the loop asserts of its variables; `context` is null.
// Neither changes a rule: they only sharpen the answers.
//
// Target arithmetic wraps, so a rewrite is right if both sides agree modulo 2^width. A rule that needs the
// mathematical result of signed arithmetic asks result_is_exact(), never just the sign of the type.
#ifndef SIMP_SIMP_H
#define SIMP_SIMP_H

#include "ir/int65.h"
#include "ir/node.h"

#include <map>

struct LOOP_RECORD;
struct CONTEXT; // bindings of the partial evaluator; always null

// ---------------------------------------------------------------------------------------------------- the driver
void simp_all_trees(); // every statement of the current function, in depth-first order of the blocks, one pass
// At level 1 and above: simp_all_trees, then the statements are tidied (",OP" at a root becomes statements, what has no
// effect goes) and the flow graph is cleaned up.
void simplify_function();
NODE* simp_tree(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr); // the whole tree, operands first; iterative
NODE* simp_node(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr); // one node, whose operands are done

// ---------------------------------------------------------------------------------- operators (one rule set each)
NODE* simp_assoc(NODE*, LOOP_RECORD*, CONTEXT*); // shared rules of PLUS, ANDB, ORB, XORB, MULT chains
NODE* simp_PLUS(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_MINUS(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_MULT(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_DIV(NODE*, int exact, LOOP_RECORD*,
               CONTEXT*); // exact: the dividend is known to be a multiple of the divisor
NODE* simp_DIV_by_ICON(NODE*, int exact, LOOP_RECORD*, CONTEXT*);
NODE* simp_MOD(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_shift(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_unary(NODE*, LOOP_RECORD*, CONTEXT*); // UMINUS, ABS, NOTB, SQRT, SQR
NODE* simp_ANDB(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_ORB(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_XORB(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_ANDAND(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_OROR(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_ANDOR_ANDOR(NODE*, LOOP_RECORD*, CONTEXT*); // && and || as branch-free & and |, where that is safe and cheap
NODE* simp_EXCLAIM(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_relop(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_QUEST(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_COMMAOP(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_ASG(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_opASG(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_SCONV(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_PCONV(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_ACONV(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_UAND(NODE*, LOOP_RECORD*, CONTEXT*); // UAND, ARGREF
NODE* simp_UMULT(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_STDOT(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_STREF(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_MEMCPY(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_EXPT(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_complexop(NODE*, LOOP_RECORD*, CONTEXT*); // COMPLEX, REAL, IMAG
NODE* simp_call(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_CBRANCH(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_IF(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_SWITCH(NODE*, LOOP_RECORD*, CONTEXT*);
NODE* simp_ASSERT(NODE*, LOOP_RECORD*, CONTEXT*); // ASSERT, NASSERT

// ------------------------------------------------------------------------------------------- truth and conversion
NODE* simp_for_control(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr); // only zero or non-zero matters
NODE* make_boolean(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);     // exactly 0 or 1, of the same truth
NODE* invert_boolean_tree(NODE*);           // 0 or 1, of the opposite truth; not simplified
NODE* coerce_to_type(NODE*, TYPE*);         // the tree itself if compatible, else a simplified conversion
NODE* coerce_to_pointer_type(NODE*, TYPE*); // the same for a pointer type
NODE* insert_mandatory_casts(NODE*);        // every operand conversion that the opcodes' rules imply, made explicit
NODE* truncate_RHS_for_assignment(NODE* lhs, NODE* rhs, bool coerce_only);
NODE* bubble_term_to_top(NODE* lhs, NODE* rhs);
bool returns_1_or_0(const NODE*); // its value is 0 or 1; walks at most a few levels
bool is_integer_like(TYPE*);      // integer or enumeration
// Free of side effects and volatile reads, found by looking at no more than `limit` nodes; a larger tree gives false.
// Rules use this, not tree_has_side_effects, so that chains of any length cost linear time.
bool tree_is_pure(const NODE*, int limit = 200);

// Where a tree collapses to a constant: the constant, behind what must remain of the tree's effects.
NODE* simp_subst_icon(NODE* tree, INT65 value, TYPE*);
// Merges two comparisons of the same operands under ANDB or ORB. The maps go from (smaller opcode << 8 | larger opcode)
// to the opcode of the one comparison, or to 0x10000 for false and 0x10001 for true.
extern const std::map<int, int> andb_combo_map, ORB_combo_map;
NODE* simp_redundant_test(NODE*, const std::map<int, int>&);
bool find_or_make_safe_for_ANDB(NODE*&, bool may_make);           // a 0-or-1 value, if need be by make_boolean
bool rhs_may_need_guard_in_lhs(const NODE* rhs, const NODE* lhs); // the value of lhs may keep rhs from faulting
bool tree_is_EH_SWITCH(const NODE*);
bool is_magic_EH_MCALL(const NODE*);
bool is_magic_EH_MCALL_ASG(const NODE*);
bool tree_is_16x16_mpy(NODE*, LOOP_RECORD*, CONTEXT*);
bool symbol_is_immutable(const SYMTAB*);
bool lvalue_is_immutable(const NODE*);
// Whether the target has the builtin of that name ("MIN", "FMAX" ...); null: it has none of them.
extern bool (*target_has_builtin)(const char* name);
extern bool must_preserve_STDOT;  // false; no pass sets it yet
extern bool trees_are_normalized; // false outside the loop passes

// ------------------------------------------------------------------------------------------------------- bit masks
// All answers are masks within type_mask() of the type, never negative, also for a signed type; they are about the
// value as the type given holds it.
INT65 find_known_ones(NODE*, TYPE*);  // bits that are certainly one
INT65 find_known_zeros(NODE*, TYPE*); // bits that may be one: a zero here is a bit that is certainly zero
INT65 find_known_zeros_in_ANDB(NODE*, LOOP_RECORD*, CONTEXT*);
INT65 find_known_zeros_in_range(INT65 low, INT65 high); // the same two of every value from low to high
INT65 find_known_ones_in_range(INT65 low, INT65 high);
void regularize_mask_constant(NODE* icon,
                              INT65 care); // picks the bits outside `care` so that runs of equal bits are few
NODE* prop_mask_into_subtree(NODE*, INT65 mask, LOOP_RECORD* = nullptr,
                             CONTEXT* = nullptr); // only the bits in `mask` stay right

// -------------------------------------------------------------------------------------------------- signed overflow
// The node's result is that of unbounded integers: its type is signed and it carries the mark, or the ranges of its
// operands show it (PLUS, MINUS, MULT, UMINUS).
bool result_is_exact(NODE*, LOOP_RECORD*, CONTEXT*);
// Where one of two congruent trees stands for both and may be evaluated where only the other was: keeps the marks that
// both carry. And: takes the marks off a whole tree that is from now on evaluated where it was not.
void keep_common_marks(NODE* kept, const NODE* gone);
void forget_exactness(NODE* tree);
// Reuses a node for another operation on other operands: sets all four and takes the mark away. Old operands that
// are not among the new ones must be erased by the caller.
NODE* remake(NODE* node, int op, NODE* left, NODE* right, TYPE*);

#endif
