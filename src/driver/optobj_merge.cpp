// Merging the options of several files: a policy for each option, then conflicts between what was merged.
#include "driver/optobj.h"

#include "diag/diagnostic.h"

uint8_t option_obj::merge_conflicts[COUNT_OPTIONS][COUNT_OPTIONS];
option_obj::MERGE_POLICY option_obj::merge_policy_functions[COUNT_OPTIONS];
option_obj::MERGE_OVERRIDE option_obj::mutex_merge_override_functions[COUNT_OPTIONS];

void option_obj::merge_init(const option_obj& other) {
    for (int id = 0; id < COUNT_OPTIONS; id++) state_[id] = other.state_[id];
    history_ = other.history_;
    main_ = &other;
}

void option_obj::merge_options(const option_obj& other) {
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        auto id = static_cast<option_id>(i);
        MERGE_POLICY policy = merge_policy_functions[i];
        if (policy == nullptr) continue;
        if (other.isset(id)) do_merge_conflicts(id, other);
        policy(*this, id, other);
        if (other.isset(id)) addfileopt(id, other.file_name.c_str());
    }
}

// `id` is set in `other`; the options that it meets are those that earlier files have set.
void option_obj::do_merge_conflicts(option_id id, const option_obj& other) {
    MERGE_OVERRIDE allows = mutex_merge_override_functions[id];
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        auto earlier = static_cast<option_id>(i);
        int rule = merge_conflicts[id][i];
        if (rule == 0 || i == id || !isset(earlier) || (allows != nullptr && allows(*this, id, other))) continue;
        if (rule != 3) {
            resolve_conflict(rule, id, earlier);
            continue;
        }
        DIAG::optgen_merge_conflict_option conflict(other.format_of_option(id).c_str(), other.file_name.c_str(),
                                                    format_of_option(earlier).c_str());
        fail(conflict);
    }
}

// ----------------------------------------------------------------------------------------------------------- policies

void option_obj::merge_policy_none(option_obj&, option_id, const option_obj&) {}

void option_obj::merge_policy_or(option_obj& into, option_id id, const option_obj& other) {
    if (!into.isset(id)) into.state_[id] = other.state_[id];
}

void option_obj::merge_policy_and(option_obj& into, option_id id, const option_obj& other) {
    if (!other.isset(id)) into.clearopt(id);
}

void option_obj::merge_policy_main(option_obj& into, option_id id, const option_obj&) {
    if (into.main_ != nullptr) into.state_[id] = into.main_->state_[id];
}

void option_obj::merge_policy_exact(option_obj& into, option_id id, const option_obj& other) {
    if (into.isset(id) && !other.isset(id)) {
        DIAG::optgen_exact_set_in_previous_files missing(into.format_of_option(id).c_str(), other.file_name.c_str());
        into.fail(missing);
    }
    if (!into.isset(id) && other.isset(id)) {
        DIAG::optgen_exact_not_set_in_previous_files added(other.format_of_option(id).c_str(), other.file_name.c_str());
        into.fail(added);
    }
    merge_policy_exact_notset(into, id, other);
}

void option_obj::merge_policy_exact_notset(option_obj& into, option_id id, const option_obj& other) {
    if (into.isset(id) && other.isset(id) && into.state_[id].args != other.state_[id].args) {
        DIAG::optgen_exact_args_incompatible differing(other.format_of_option(id).c_str(), other.file_name.c_str(),
                                                       into.format_of_option(id).c_str());
        into.fail(differing);
    }
    merge_policy_or(into, id, other);
}

namespace {

an_argument_t last_argument(const option_obj& of, option_id id) {
    an_argument_t argument;
    of.get_argument(id, &argument);
    return argument;
}

} // namespace

void option_obj::merge_policy_max(option_obj& into, option_id id, const option_obj& other) {
    bool greater = !into.isset(id) || last_argument(into, id) < last_argument(other, id);
    if (other.isset(id) && greater) into.state_[id] = other.state_[id];
}

void option_obj::merge_policy_min(option_obj& into, option_id id, const option_obj& other) {
    bool smaller = !into.isset(id) || last_argument(other, id) < last_argument(into, id);
    if (other.isset(id) && smaller) into.state_[id] = other.state_[id];
}
