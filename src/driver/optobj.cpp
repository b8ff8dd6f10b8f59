// Settings of an option_obj: state, arguments, history, conflicts.
#include "driver/optobj.h"

#include "diag/diagnostic.h"
#include "driver/safealloc.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>

uint8_t option_obj::conflicts[COUNT_OPTIONS][COUNT_OPTIONS];
const char* (*option_obj::next_arg)();
const char* option_obj::executable_name = "nxopt";

void option_obj::debug_line(const char* format, ...) const {
    if (debug_level == 0) return;
    fputs("opt option debug: ", stdout);
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}

// ------------------------------------------------------------------------------------------------------------ setting

void option_obj::setopt_internal(option_id id) {
    state_[id].state++;
    state_[id].set_count++;
    debug_line("Set    option id %s to state %d\n", internal_option_string(id), state_[id].state);
    if (!quiet_) do_conflicts(id);
}

void option_obj::setopt(option_id id) {
    setopt_internal(id);
    add_to_history(id);
}

void option_obj::setopt(option_id id, long number) {
    setopt_internal(id);
    setarg(id, number);
    add_to_history(id);
}

void option_obj::setopt(option_id id, const char* text) {
    setopt_internal(id);
    setarg(id, text);
    add_to_history(id);
}

void option_obj::setarg(option_id id, long number) { store(id, {number, std::to_string(number)}); }

void option_obj::setarg(option_id id, const char* text) {
    int failed = 0;
    switch (option_definitions[id].parm_type) {
    case PARM_NUMBER: setarg(id, strtol_by_radix(text, &failed)); break;
    case PARM_VALUE: setarg(id, parse_oneof(id, text)); break;
    default: store(id, {0, text}); break;
    }
}

void option_obj::store(option_id id, an_argument_t argument) {
    auto& args = state_[id].args;
    switch (option_definitions[id].parm_type) {
    case PARM_STRING:
    case PARM_NUMBER:
    case PARM_OWN:
    case PARM_VALUE: args.assign(1, std::move(argument)); return;
    case PARM_STRINGS:
    case PARM_NUMBERS:
    case PARM_UNSIGNED_NUMBERS: args.push_back(std::move(argument)); return;
    default: break;
    }
    DIAG::optgen_unhandled_clause_in_setarg unhandled(option_definitions[id].parm_type);
    fail(unhandled);
}

void option_obj::parsed_option(option_id id) {
    state_[id].parsed_count++;
    debug_line("Parsed option id %s/%d\n", internal_option_string(id), id);
}

void option_obj::register_option_form(option_id id, OPTION_FORM form) { state_[id].form = form; }

void option_obj::clearopt(option_id id) {
    state_[id].state = 0;
    state_[id].args.clear();
    debug_line("Clear  option id %s\n", internal_option_string(id));
}

void option_obj::setclassmembers(class_id of) {
    for (int id = 0; id < COUNT_OPTIONS; id++)
        if (isclass(static_cast<option_id>(id), of)) setopt(static_cast<option_id>(id));
}

void option_obj::clearclassmembers(class_id of) {
    for (int id = 0; id < COUNT_OPTIONS; id++)
        if (isclass(static_cast<option_id>(id), of)) clearopt(static_cast<option_id>(id));
}

// ------------------------------------------------------------------------------------------------------------ history

void option_obj::clear_history(option_id id) {
    history_.erase(std::remove_if(history_.begin(), history_.end(), [&](const auto& entry) { return entry.id == id; }),
                   history_.end());
}

void option_obj::add_to_history(option_id id) {
    PARM_TYPE kind = option_definitions[id].parm_type;
    if (kind > PARM_UNSIGNED_NUMBERS) {
        DIAG::optgen_unhandled_clause_in_add_hist unhandled(kind);
        fail(unhandled);
    }
    if (kind < PARM_STRINGS) clear_history(id);
    an_argument_t last;
    get_argument(id, &last);
    debug_line("Add option id %s to history with arg %s\n", internal_option_string(id), last.text.c_str());
    history_.push_back({id, std::move(last)});
}

void option_obj::addfileopt(option_id id, const char* file) {
    debug_line("Add file '%s' to %s's history\n", file, internal_option_string(id));
    history_.push_back({id, {0, file}});
}

// ---------------------------------------------------------------------------------------------------------- conflicts

void option_obj::do_conflicts(option_id id) {
    for (int earlier = 0; earlier < COUNT_OPTIONS; earlier++)
        if (earlier != id && isset(static_cast<option_id>(earlier)))
            resolve_conflict(conflicts[id][earlier], id, static_cast<option_id>(earlier));
}

void option_obj::resolve_conflict(int rule, option_id setting, option_id earlier) {
    if (rule == 0) return;
    std::string by = format_of_option(setting), cleared = format_of_option(earlier);
    clearopt(earlier);
    if (rule == 3) {
        DIAG::optgen_conflict_option conflict(by.c_str(), cleared.c_str());
        fail(conflict);
    }
    if (rule == 2) {
        DIAG::optgen_conflict_override_option override(by.c_str(), cleared.c_str());
        report_diagnostic(override);
    } else if (debug_level != 0) {
        DIAG::optgen_conflict_quiet_option remark(by.c_str(), cleared.c_str());
        report_diagnostic(remark);
    }
}

// ------------------------------------------------------------------------------------------------------------- asking

long option_obj::getnumarg(option_id id, size_t index) const {
    return index < state_[id].args.size() ? state_[id].args[index].number : 0;
}

const char* option_obj::getstrarg(option_id id, size_t index) const {
    return index < state_[id].args.size() ? state_[id].args[index].text.c_str() : "";
}

bool option_obj::get_argument(option_id id, an_argument_t* argument) const {
    if (state_[id].args.empty()) return false;
    *argument = state_[id].args.back();
    return true;
}

bool option_obj::args_match_list(option_id id, const std::vector<std::string>& list) const {
    const auto& args = state_[id].args;
    return std::equal(args.begin(), args.end(), list.begin(), list.end(),
                      [](const an_argument_t& argument, const std::string& text) { return argument.text == text; });
}

bool option_obj::isclass(option_id id, class_id of) {
    return of == class_id::ALL || (option_definitions[id].classes >> static_cast<int>(of) & 1) != 0;
}

bool option_obj::testclass(class_id of) const {
    for (int id = 0; id < COUNT_OPTIONS; id++)
        if (state_[id].state != 0 && isclass(static_cast<option_id>(id), of)) return true;
    return false;
}

bool option_obj::seenclass(class_id of) const {
    for (int id = 0; id < COUNT_OPTIONS; id++)
        if ((state_[id].set_count != 0 || state_[id].parsed_count != 0) && isclass(static_cast<option_id>(id), of))
            return true;
    return false;
}

std::vector<class_id> option_obj::class_list_for_option(option_id id) {
    std::vector<class_id> list;
    for (int of = 1; of < count_option_classes; of++)
        if (isclass(id, static_cast<class_id>(of))) list.push_back(static_cast<class_id>(of));
    return list;
}

// ----------------------------------------------------------------------------------------------------------- messages

void option_obj::report_diagnostic(DIAGNOSTIC& diagnostic) const {
    if (isset(OPT_diag_wrap)) DIAGNOSTIC::wrap_enabled_m = getnumarg(OPT_diag_wrap) != 0;
    if (!origin.empty()) diagnostic.set_src(new DIAG_SRCINFO{origin, 0});
    diagnostic.report();
}

void option_obj::fail(DIAGNOSTIC& diagnostic) const {
    report_diagnostic(diagnostic);
    end_run(1);
}
