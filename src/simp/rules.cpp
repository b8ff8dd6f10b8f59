#include "simp/rules.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

const RULE_SET* all_sets = nullptr; // constant-initialised, so sets of any file may link themselves in

std::vector<const RULE_SET*> sets_by_name() {
    std::vector<const RULE_SET*> sets;
    for (const RULE_SET* set = RULE_SET::first(); set != nullptr; set = set->next()) sets.push_back(set);
    std::sort(sets.begin(), sets.end(),
              [](const RULE_SET* a, const RULE_SET* b) { return strcmp(a->name(), b->name()) < 0; });
    return sets;
}

} // namespace

uint64_t simp_allowance_exceeded = 0;

RULE_SET::RULE_SET(const char* name, const RULE* rules, size_t count)
    : name_(name), rules_(rules), count_(count), next_(all_sets) {
    all_sets = this;
}

const RULE_SET* RULE_SET::first() { return all_sets; }

NODE* RULE_SET::try_rules(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) const {
    for (size_t i = 0; i < count_; i++)
        if (NODE* result = rules_[i].apply(tree, loop, context)) {
            rules_[i].fired++;
            return result;
        }
    return nullptr;
}

NODE* RULE_SET::run(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) const {
    NODE* result = try_rules(tree, loop, context);
    return result != nullptr ? result : tree;
}

void print_simp_stats(FILE* out) {
    uint64_t total = 0;
    for (const RULE_SET* set : sets_by_name())
        for (size_t i = 0; i < set->size(); i++) {
            const RULE& rule = set->rule(i);
            fprintf(out, "%10llu  %s.%s: %s\n", static_cast<unsigned long long>(rule.fired), set->name(), rule.name,
                    rule.shape);
            total += rule.fired;
        }
    fprintf(out, "%10llu  rewrites in all, %llu trees stopped at their allowance\n",
            static_cast<unsigned long long>(total), static_cast<unsigned long long>(simp_allowance_exceeded));
    fprintf(out, "%10zu  nodes simplified in %.6f s\n", simp_time.nodes, simp_time.seconds);
}

void reset_simp_stats() {
    for (const RULE_SET* set = RULE_SET::first(); set != nullptr; set = set->next())
        for (size_t i = 0; i < set->size(); i++) set->rule(i).fired = 0;
    simp_allowance_exceeded = 0;
    simp_time = {};
}
