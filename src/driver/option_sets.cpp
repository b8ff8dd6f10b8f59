#include "driver/option_sets.h"

#include "diag/diagnostic.h"
#include "driver/safealloc.h"
#include "icode/if.h"
#include "ir/symbol.h"
#include "ir/vars.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

option_obj* cmdline_options;
option_obj* file_options;

// -------------------------------------------------------------------------------------------------------- option sets

namespace {

std::unordered_map<uint32_t, std::unique_ptr<option_obj>> all_option_sets; // by number; look-up only

void process_recorded_options(option_obj& o, const OPTION_SET& set) {
    o.from_file = true;
    o.origin = "option set " + std::to_string(set.number) + " of the input file";
    for (const std::string& word : set.strings) {
        if (word.empty()) continue;
        if (word[0] != '-' || !o.process_option(word.c_str() + 1))
            report_invalid_option(word.c_str(), o.origin.c_str());
    }
}

// A list that the command line gives comes behind the recorded one; any other argument replaces the recorded one.
void replay(option_obj& o, const option_obj& from) {
    for (const std::string& word : from.export_option_list(EXPORT_ALL)) o.process_option(word.c_str() + 1);
}

} // namespace

void make_all_option_sets(const std::vector<OPTION_SET>& recorded) {
    all_option_sets.clear();
    for (const OPTION_SET& set : recorded) {
        auto& o = all_option_sets[set.number];
        if (o == nullptr) o = std::make_unique<option_obj>(true);
        process_recorded_options(*o, set);
    }
    all_option_sets.try_emplace(0, std::make_unique<option_obj>(true));
    if (cmdline_options != nullptr)
        for (auto& [number, o] : all_option_sets) replay(*o, *cmdline_options);
    file_options = all_option_sets[0].get();
    option_queries.opt_level = option_opt_level;
    option_queries.size_speed_goal = option_size_speed_goal;
}

bool any_option_set_is_level_0() {
    return std::any_of(all_option_sets.begin(), all_option_sets.end(), [](const auto& entry) {
        return entry.second->isset(OPT_opt_level) && entry.second->getnumarg(OPT_opt_level) <= 0;
    });
}

void reset_options() {
    file_options = nullptr;
    all_option_sets.clear();
    delete cmdline_options;
    cmdline_options = nullptr;
    option_obj::next_arg = nullptr;
    option_queries = OPTION_QUERIES();
}

void report_invalid_option(const char* as_typed, const char* where) {
    DIAG::optgen_invalid_option invalid;
    std::string place = where[0] != 0 ? std::string(where) + ": " : "";
    invalid.set_src(new DIAG_SRCINFO{place + as_typed, 0});
    invalid.report();
    end_run(1);
}

option_obj* options_in_force() {
    if (currfunc == nullptr || currfunc->option_set == 0) return file_options;
    auto found = all_option_sets.find(currfunc->option_set);
    return found != all_option_sets.end() ? found->second.get() : file_options;
}

// ------------------------------------------------------------------------------------------------------------ queries

namespace {

constexpr int default_o3_auto_inline = 20;
constexpr int default_o2_auto_inline = 20;
constexpr int default_size_speed_goal = 4;
constexpr int default_opt_level = 1;

// The option's argument, or a default if it was not given.
long number_in_force(option_id id, long if_absent) {
    const option_obj* o = options_in_force();
    return o != nullptr && o->isset(id) ? o->getnumarg(id) : if_absent;
}

} // namespace

int option_opt_level() {
    long level = number_in_force(OPT_opt_level, default_opt_level);
    return level == OPT_LEVEL_OFF ? 0 : static_cast<int>(level);
}

int option_size_speed_goal() {
    const option_obj* o = options_in_force();
    if (o == nullptr) return default_size_speed_goal;
    if (o->isset(OPT_opt_for_speed)) return static_cast<int>(o->getnumarg(OPT_opt_for_speed));
    if (o->isset(OPT_opt_for_space)) return static_cast<int>(std::max(0L, 3 - o->getnumarg(OPT_opt_for_space)));
    return static_cast<int>(number_in_force(OPT_size_speed_goal, default_size_speed_goal));
}

int auto_inline() {
    const option_obj* o = options_in_force();
    if (o != nullptr && o->isset(OPT_auto_inline)) return static_cast<int>(o->getnumarg(OPT_auto_inline));
    if (pass_disable("newinline")) return 1;
    switch (option_opt_level()) {
    case 2: return default_o2_auto_inline;
    case 3:
    case 4: return default_o3_auto_inline;
    default: return 0;
    }
}

bool fp_add_is_associative() { return number_in_force(OPT_fp_reassoc, 1) != 0; }
bool saturating_add_is_associative() { return number_in_force(OPT_sat_reassoc, 0) == 1; }
int interrupt_threshold() { return static_cast<int>(number_in_force(OPT_interrupt_threshold, 0)); }
bool use_llvm() {
    const option_obj* o = options_in_force();
    return o != nullptr && o->isset(OPT_use_llvm);
}

long print_debug_option() { return file_options != nullptr ? file_options->getnumarg(OPT_print_debug) : 0; }

bool vectorize_is_on() {
    return file_options != nullptr && file_options->isset(OPT_vectorize) &&
           file_options->getnumarg(OPT_vectorize) == VECTORIZE_ON;
}
