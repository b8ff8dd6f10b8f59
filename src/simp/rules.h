// Rules of the simplifier: each rewrite is one named function, tried in the order of its operator's table.
//
// A rule looks at the shape first and asks costly questions last. It returns null, and has then changed nothing, if it
// does not apply; else it returns the tree that replaces the argument, usually through simp_node, so that rules chain.
// --debug:simp_stats prints how often each rule fired.
#ifndef SIMP_RULES_H
#define SIMP_RULES_H

#include "simp/simp.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct RULE {
    const char* name;  // unique within its set
    const char* shape; // what becomes of what: "x | x -> x"
    NODE* (*apply)(NODE* tree, LOOP_RECORD*, CONTEXT*);
    mutable uint64_t fired = 0;
};

// The rules of one operator. A global object in the file of the rules; it enters itself in the list of all sets.
class RULE_SET {
  public:
    template <size_t N> RULE_SET(const char* name, const RULE (&rules)[N]) : RULE_SET(name, rules, N) {}
    RULE_SET(const char* name, const RULE* rules, size_t count);

    // The result of the first rule that applies, else the tree itself.
    NODE* run(NODE* tree, LOOP_RECORD*, CONTEXT*) const;
    // The same with null for "none applies".
    NODE* try_rules(NODE* tree, LOOP_RECORD*, CONTEXT*) const;

    const char* name() const { return name_; }
    size_t size() const { return count_; }
    const RULE& rule(size_t i) const { return rules_[i]; }
    static const RULE_SET* first();
    const RULE_SET* next() const { return next_; }

  private:
    const char* name_;
    const RULE* rules_;
    size_t count_;
    const RULE_SET* next_;
};

// What simp_all_trees did under --debug:simp_stats.
struct SIMP_TIME {
    size_t nodes = 0;   // before, all calls together
    double seconds = 0; // of processor time
};
extern SIMP_TIME simp_time;

void print_simp_stats(FILE*); // every rule with its count, sets by name
void reset_simp_stats();

// How often one outermost simp_node or simp_tree call ran out of its allowance of rewrites and stopped early. It means
// that two rules undo each other; the tree is right but not in canonical form.
extern uint64_t simp_allowance_exceeded;

#endif
