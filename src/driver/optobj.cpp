#include "driver/optobj.h"

#include "driver/open_files.h"
#include "driver/safealloc.h"
#include "icode/if.h"
#include "ir/symbol.h"
#include "ir/vars.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_map>

const char* (*option_obj::next_arg)();
const char* option_obj::executable_name = "nxopt";
option_obj* cmdline_options;
option_obj* file_options;

namespace {

// ----------------------------------------------------------------------------------------------------------- tables

enum ARGUMENT_KIND { NONE, STRING, NUMBER, VALUE, STRINGS };
enum GROUP { GENERAL, OPTIMIZE, INLINE, ALIAS, FLOAT, LANGUAGE, TARGET, OUTPUT, DEBUG, INTERNAL };

constexpr const char* group_titles[] = {
    "General",  "Optimization",       "Inlining", "What the program promises",        "Floating point",
    "Language", "The target machine", "Output",   "Debugging of the optimizer itself"};

struct OPTION_ROW {
    const char* long_name;  // empty: no spelling
    const char* short_name; // empty: no short form
    ARGUMENT_KIND argument;
    GROUP group;
    const char* parameter;
    long bare;
    const char* help;
};
constexpr OPTION_ROW rows[COUNT_OPTIONS] = {
#define OPTION(id, name, long_name, short_name, argument, group, parameter, bare, help)                                \
    {long_name, short_name, argument, group, parameter, bare, help},
#define OPTION_VALUE(option, number, text)
#include "driver/options.def"
};

struct VALUE_ROW {
    option_id option;
    long number;
    const char* text;
};
constexpr VALUE_ROW values[] = {
#define OPTION(id, name, long_name, short_name, argument, group, parameter, bare, help)
#define OPTION_VALUE(option, number, text) {OPT_##option, number, text},
#include "driver/options.def"
};

bool has_spelling(option_id id) { return rows[id].long_name[0] != 0; }
bool ends_in_colon(const char* name) { return name[0] != 0 && name[strlen(name) - 1] == ':'; }

std::string value_list(option_id id) {
    std::string list;
    for (const VALUE_ROW& row : values)
        if (row.option == id) list += (list.empty() ? "" : ",") + std::string(row.text);
    return list;
}

// ---------------------------------------------------------------------------------------------------------- messages

[[noreturn]] __attribute__((format(printf, 1, 2))) void option_error(const char* format, ...) {
    fputs(">>>> OPTIMIZER ERROR: ", stderr);
    va_list args;
    va_start(args, format);
    vfprintf(stderr, format, args);
    va_end(args);
    fputc('\n', stderr);
    end_run(1);
}

// --------------------------------------------------------------------------------------------------------- arguments

struct RANGE {
    unsigned long min, max;
};
constexpr RANGE full_range{0, INT_MAX};

RANGE range_of(option_id id) { return id == OPT_opt_for_speed ? RANGE{0, 5} : full_range; }

long check_numerical_arg(const std::string& option, const char* text, RANGE range) {
    bool failed = false;
    long value = strtol_by_radix(text, failed);
    if (!failed && value >= 0 && static_cast<unsigned long>(value) >= range.min &&
        static_cast<unsigned long>(value) <= range.max)
        return value;
    if (range.min != full_range.min || range.max != full_range.max)
        option_error("argument to option %s (%s) is out of range (must be a number from %lu to %lu", option.c_str(),
                     text, range.min, range.max);
    if (strchr(text, '-') != nullptr)
        option_error("argument to option %s (%s) is out of range (must be a non-negative_number)", option.c_str(),
                     text);
    option_error("argument to option %s (%s) is out of range", option.c_str(), text);
}

long parse_oneof(option_id id, const std::string& option, const char* text) {
    for (const VALUE_ROW& row : values)
        if (row.option == id && strcaseicmp(row.text, text) == 0) return row.number;
    option_error("bad argument to option %s: should be one of {%s}", option.c_str(), value_list(id).c_str());
}

// Prints the list of options of a group in order of id.
void print_group(GROUP group) {
    constexpr int width = 40;
    printf("\n%s:\n", group_titles[group]);
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        const OPTION_ROW& row = rows[i];
        if (row.group != group || row.long_name[0] == 0) continue;
        std::string form = std::string("  --") + row.long_name;
        if (row.argument != NONE) form += std::string(ends_in_colon(row.long_name) ? "<" : "=<") + row.parameter + ">";
        if (row.short_name[0] != 0) form += std::string(", -") + row.short_name;
        std::string list = value_list(static_cast<option_id>(i));
        if (!list.empty()) list = " {" + list + "}";
        printf("%-*.*s%s%s\n", width, std::max(width, static_cast<int>(form.size()) + 1), (form + " ").c_str(),
               row.help, list.c_str());
    }
}

} // namespace

// ----------------------------------------------------------------------------------------------------------- numbers

int get_radix(const char* text) {
    if (text[0] != '0') return 10;
    return text[1] == 'x' || text[1] == 'X' ? 16 : 8;
}

long strtol_by_radix(const char* text, bool& failed) {
    char* end = nullptr;
    errno = 0;
    long value = strtol(text, &end, get_radix(text));
    failed = end == text || *end != 0 || errno == ERANGE || isspace(static_cast<unsigned char>(text[0]));
    return value;
}

unsigned long strtoul_by_radix(const char* text, bool& failed) {
    char* end = nullptr;
    errno = 0;
    unsigned long value = strtoul(text, &end, get_radix(text));
    failed = end == text || *end != 0 || errno == ERANGE || strchr(text, '-') != nullptr ||
             isspace(static_cast<unsigned char>(text[0]));
    return value;
}

// ---------------------------------------------------------------------------------------------------- setting, asking

void option_obj::store(option_id id, an_argument_t argument) {
    auto& args = state_[id].args;
    if (rows[id].argument != STRINGS) args.clear();
    args.push_back(std::move(argument));
}

void option_obj::setopt_internal(option_id id) {
    state_[id].state++;
    state_[id].set_count++;
}

void option_obj::setopt(option_id id) { setopt_internal(id); }

void option_obj::setopt(option_id id, long number) {
    setopt_internal(id);
    store(id, an_argument_t{number, std::to_string(number)});
}

void option_obj::setopt(option_id id, const char* text) {
    setopt_internal(id);
    store(id, an_argument_t{0, text});
}

void option_obj::clearopt(option_id id) {
    state_[id].state = 0;
    state_[id].args.clear();
}

long option_obj::getnumarg(option_id id, size_t index) const {
    return index < state_[id].args.size() ? state_[id].args[index].number : 0;
}

const char* option_obj::getstrarg(option_id id, size_t index) const {
    return index < state_[id].args.size() ? state_[id].args[index].text.c_str() : "";
}

std::string option_obj::export_option(option_id id, size_t index) const {
    const OPTION_ROW& row = rows[id];
    if (!has_spelling(id)) return "";
    std::string word = std::string("--") + row.long_name;
    if (index >= state_[id].args.size()) return word;
    if (!ends_in_colon(row.long_name)) word += "=";
    if (row.argument != VALUE) return word + getstrarg(id, index);
    for (const VALUE_ROW& value : values)
        if (value.option == id && value.number == getnumarg(id, index)) return word + value.text;
    return "";
}

std::vector<std::pair<option_id, std::string>> option_obj::export_option_pairs(EXPORT_KIND kind) const {
    std::vector<std::pair<option_id, std::string>> pairs;
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        option_id id = static_cast<option_id>(i);
        const STATE& s = state_[i];
        if (!has_spelling(id) || (s.state == 0 && (kind != EXPORT_GIVEN || s.parsed_count == 0))) continue;
        if (s.args.empty()) pairs.emplace_back(id, export_option(id, 0));
        for (size_t index = 0; index < s.args.size(); index++) pairs.emplace_back(id, export_option(id, index));
    }
    return pairs;
}

std::string option_obj::format_of_option(option_id id) const {
    bool short_form = state_[id].written_short && rows[id].short_name[0] != 0;
    return short_form ? std::string("-") + rows[id].short_name : std::string("--") + rows[id].long_name;
}

// ----------------------------------------------------------------------------------------------------------- parsing

void option_obj::note_form(option_id id, bool short_form) {
    state_[id].written_short = short_form;
    state_[id].parsed_count++;
}

// `text` is null if no argument was given.
void option_obj::take_argument(option_id id, const char* text) {
    const OPTION_ROW& row = rows[id];
    std::string option = format_of_option(id);
    if (text != nullptr && *text == 0)
        option_error("option %s is missing its parameter '%s'", option.c_str(), row.parameter);
    switch (row.argument) {
    case NONE: setopt(id); break;
    case STRING:
        if (text == nullptr)
            setopt(id);
        else
            setopt(id, text);
        break;
    case STRINGS:
        if (text == nullptr) option_error("option %s is missing its parameter '%s'", option.c_str(), row.parameter);
        setopt(id, text);
        break;
    case NUMBER: setopt(id, text != nullptr ? check_numerical_arg(option, text, range_of(id)) : row.bare); break;
    case VALUE: setopt(id, text != nullptr ? parse_oneof(id, option, text) : row.bare); break;
    }
}

bool option_obj::parse_long(const char* text, const char*& error_at) {
    size_t length = strcspn(text, "=");
    auto is = [&](const char* name) { return strlen(name) == length && strcaseincmp(text, name, length) == 0; };
    if (!from_file && text[length] == 0) {
        if (is("help") || is("usage")) display_option_help();
        if (is("toolversion") || is("version")) display_version();
    }
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        option_id id = static_cast<option_id>(i);
        const OPTION_ROW& row = rows[i];
        size_t name_length = strlen(row.long_name);
        if (name_length == 0 || (from_file && id == OPT_toolversion)) continue;
        bool colon = ends_in_colon(row.long_name);
        if (colon ? strcaseincmp(text, row.long_name, name_length) != 0 : !is(row.long_name)) continue;
        const char* rest = text + name_length;
        if (!colon && row.argument == NONE && *rest != 0) {
            error_at = rest;
            return false;
        }
        if (strncmp(text, row.long_name, name_length) != 0)
            fprintf(
                stderr,
                ">>>> OPTIMIZER WARNING: Case insensitivity of options has been deprecated; --%.*s must be written as "
                "--%s in future releases\n",
                static_cast<int>(name_length), text, row.long_name);
        note_form(id, false);
        take_argument(id, colon ? rest : *rest == '=' ? rest + 1 : nullptr);
        return true;
    }
    error_at = text;
    return false;
}

// The options that begin with '#': each further one raises the level of the debug log; a 'v' makes everything volatile.
bool option_obj::parse_debug_letter(const char*& text) {
    if (*text != '#') return false;
    for (; *text == '#'; text++) {
        setopt(OPT_print_debug, getnumarg(OPT_print_debug) + 1);
        setopt(OPT_keep_opt_ifile);
        note_form(OPT_print_debug, false);
    }
    if (tolower(static_cast<unsigned char>(*text)) == 'v') {
        setopt(OPT_volit_vars);
        text++;
    }
    return true;
}

bool option_obj::parse_short(const char* text, const char*& error_at) {
    while (*text != 0) {
        if (parse_debug_letter(text)) continue;
        if (*text == '?' && !from_file) display_option_help();
        option_id id = COUNT_OPTIONS;
        size_t used = 0;
        for (int i = 0; i < COUNT_OPTIONS; i++) {
            size_t n = strlen(rows[i].short_name);
            if (n > used && strcaseincmp(text, rows[i].short_name, n) == 0) {
                id = static_cast<option_id>(i);
                used = n;
            }
        }
        if (used == 0 && tolower(static_cast<unsigned char>(*text)) == 'h') { // without a digit it means -h1
            id = OPT_std_lib_func_defined;
            used = 1;
        }
        if (used == 0) {
            error_at = text;
            return false;
        }
        text += used;
        note_form(id, true);
        if (rows[id].argument == NONE) {
            setopt(id);
            continue;
        }
        const char* argument = *text != 0 ? text : next_arg != nullptr && !from_file ? next_arg() : nullptr;
        take_argument(id, argument != nullptr ? argument : "");
        return true;
    }
    return true;
}

bool option_obj::process_option(const char* text, const char** error_at) {
    const char* failed_at = text;
    bool understood = text[0] == '-' ? parse_long(text + 1, failed_at) : parse_short(text, failed_at);
    if (!understood && error_at != nullptr) *error_at = failed_at;
    return understood;
}

// ------------------------------------------------------------------------------------------------------ help, version

void option_obj::print_banner(FILE* to) { fprintf(to, "%s\n", nxopt_banner); }

void option_obj::display_option_help() {
    const char* slash = strrchr(executable_name, '/');
    printf("Usage: %s [-options] filename\n\n", slash != nullptr ? slash + 1 : executable_name);
    printf("This tool is designed to be invoked by the compiler.\n");
    for (int group = GENERAL; group < INTERNAL; group++) {
        print_group(static_cast<GROUP>(group));
        if (group == GENERAL) printf("%-40.40s%s\n", "  --help, --usage, -?", "print this list and stop");
    }
    fflush(stdout);
    end_run(0);
}

void option_obj::display_version() {
    print_banner(stdout);
    printf("Build Number %s\n", build_id());
    fflush(stdout);
    end_run(0);
}

void report_invalid_option(const char* as_typed) { option_error("option is invalid: %s", as_typed); }

// -------------------------------------------------------------------------------------------------------- option sets

namespace {

std::unordered_map<uint32_t, std::unique_ptr<option_obj>> all_option_sets; // by number; look-up only

void process_recorded_options(option_obj& o, const OPTION_SET& set) {
    o.from_file = true;
    for (const std::string& word : set.strings) {
        if (word.empty()) continue;
        if (word[0] != '-' || !o.process_option(word.c_str() + 1))
            option_error("option is invalid: %s (in option set %u of the input file)", word.c_str(), set.number);
    }
}

} // namespace

void option_obj::replay(const option_obj& from) {
    // A list that the command line gives comes behind the recorded one; any other argument replaces the recorded one.
    for (const auto& [id, word] : from.export_option_pairs(EXPORT_ALL)) process_option(word.c_str() + 1);
}

void make_all_option_sets(const std::vector<OPTION_SET>& recorded) {
    all_option_sets.clear();
    for (const OPTION_SET& set : recorded) {
        auto& o = all_option_sets[set.number];
        if (o == nullptr) o = std::make_unique<option_obj>(true);
        process_recorded_options(*o, set);
    }
    all_option_sets.try_emplace(0, std::make_unique<option_obj>(true));
    if (cmdline_options != nullptr)
        for (auto& [number, o] : all_option_sets) o->replay(*cmdline_options);
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
