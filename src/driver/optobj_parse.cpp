// Parsing one word of options: trees of spellings, arguments, numbers.
#include "driver/optobj.h"

#include "diag/diagnostic.h"
#include "driver/safealloc.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

// ------------------------------------------------------------------------------------------------------------ numbers

int get_radix(const char* text) {
    if (text[0] != '0') return 10;
    return text[1] == 'x' || text[1] == 'X' ? 16 : 8;
}

namespace {

// What the library's conversions let pass and no number of ours has: nothing at all, blanks in front.
bool is_no_number(const char* text, const char* end) {
    return end == text || *end != 0 || errno == ERANGE || isspace(static_cast<unsigned char>(text[0]));
}

} // namespace

long strtol_by_radix(const char* text, int* failed) {
    char* end = nullptr;
    errno = 0;
    long value = strtol(text, &end, get_radix(text));
    *failed = is_no_number(text, end);
    return value;
}

unsigned long strtoul_by_radix(const char* text, int* failed) {
    char* end = nullptr;
    errno = 0;
    unsigned long value = strtoul(text, &end, get_radix(text));
    *failed = is_no_number(text, end);
    return value;
}

// ---------------------------------------------------------------------------------------------------------- arguments

namespace {

bool is_number(int short_type) {
    return short_type == PARSE_NUMBER || short_type == PARSE_SIGNED || short_type == PARSE_UNSIGNED ||
           short_type == PARSE_NUMBERS || short_type == PARSE_RANGED;
}

bool is_parse_type(int type) {
    bool hole = type == 6 || type == 7 || type == 15 || type == 16;
    return type >= 0 && type < COUNT_PARSE_TYPES && !hole;
}

int parse_type_of(option_id id, OPTION_FORM form) {
    int type = PARSE_TEXT;
    if (option_definitions[id].parm_type == PARM_NUMBER) type = PARSE_NUMBER;
    if (option_definitions[id].parm_type == PARM_VALUE) type = PARSE_ONEOF;
    return form == FORM_LONG ? type + PARSE_LONG_FORM : type;
}

} // namespace

const char* option_obj::parse_arg(option_id id, const char* rest, const char* parameter, int type,
                                  OPTION_BOUNDS range) {
    if (!is_parse_type(type)) {
        DIAG::optgen_option_handler_corruption corruption;
        fail(corruption);
    }
    const char* argument = rest;
    bool long_form = type >= PARSE_LONG_FORM;
    if (long_form) {
        if (*rest == 0) return nullptr;
        if (*rest == '=') argument = rest + 1;
    } else if (*rest == 0)
        argument = next_arg != nullptr && !from_file ? next_arg() : nullptr;
    if (argument == nullptr || *argument == 0) {
        DIAG::optgen_missing_parameter missing(format_of_option(id).c_str(), parameter);
        fail(missing);
    }
    if (is_number(long_form ? type - PARSE_LONG_FORM : type)) check_numerical_arg(type, id, argument, range);
    return argument;
}

long option_obj::check_numerical_arg(int type, option_id id, const char* text, OPTION_BOUNDS range) {
    bool is_unsigned = type == PARSE_UNSIGNED || type == PARSE_UNSIGNED + PARSE_LONG_FORM;
    bool minus = strchr(text, '-') != nullptr;
    int failed = 0;
    long value = is_unsigned ? static_cast<long>(strtoul_by_radix(text, &failed)) : strtol_by_radix(text, &failed);
    long lowest = static_cast<long>(range.lowest), highest = static_cast<long>(range.highest);
    debug_line("check %ld <= %ld <= %ld\n", lowest, value, highest);
    bool inside = lowest <= value && value <= highest && !(is_unsigned && minus);
    if (!failed && inside) return value;

    std::string option = format_of_option(id);
    if (range.lowest != 0 || range.highest != (is_unsigned ? full_unsigned_range : full_range).highest) {
        DIAG::optgen_arg_out_of_range2 outside(option.c_str(), text, range.lowest, range.highest);
        fail(outside);
    }
    if (minus) {
        DIAG::optgen_arg_out_of_range_non_neg negative(option.c_str(), text);
        fail(negative);
    }
    DIAG::optgen_arg_out_of_range outside(option.c_str(), text);
    fail(outside);
}

long option_obj::parse_oneof(option_id id, const char* text) {
    if (const OPTION_VALUE_ROW* row = value_by_text(id, text)) return row->number;
    DIAG::optgen_bad_argument bad(format_of_option(id).c_str(), value_list(id, ",").c_str());
    fail(bad);
}

// ------------------------------------------------------------------------------------------------------------- leaves

// The text of an option as typed ends where `rest` begins.
void option_obj::deprecated_case(const char* rest, const char* correct_name) const {
    size_t length = strlen(correct_name);
    const char* typed = rest - length;
    if (strncmp(typed, correct_name, length) == 0) return;
    DIAG::optgen_case_insensitivity_deprecated deprecated(("--" + std::string(typed, length)).c_str(),
                                                          ("--" + std::string(correct_name)).c_str());
    report_diagnostic(deprecated);
}

// An option whose spelling has been read and that takes an argument. `rest` is what follows the spelling.
void option_obj::take_argument(option_id id, const char* rest, OPTION_FORM form) {
    const OPTION_ROW& row = option_definitions[id];
    const char* text = parse_arg(id, rest, row.parameter, parse_type_of(id, form), range_of_option(id));
    if (text != nullptr)
        setopt(id, text);
    else if (row.alone == option_needs_argument) {
        DIAG::optgen_missing_parameter missing(format_of_option(id).c_str(), row.parameter);
        fail(missing);
    } else if (row.alone == option_is_textless)
        setopt(id);
    else
        setopt(id, row.alone);
}

// ------------------------------------------------------------------------------------------------------------ parsing

// Behind "--".
option_obj::PARSED option_obj::parse_dash(const char* text) {
    SPELLING_TREE::MATCH match = long_spellings().longest(text);
    const char* rest = text + match.length;
    PARSED no_option{nullptr, text + match.furthest + 1};
    if (match.leaf < 0) return no_option;
    if (match.leaf >= COUNT_OPTIONS) {
        if (*rest != 0 || from_file) return no_option;
        if (match.leaf == SPELLING_VERSION) display_version();
        display_option_help(executable_name, 0);
    }
    auto id = static_cast<option_id>(match.leaf);
    const OPTION_ROW& row = option_definitions[id];
    bool with_argument = row.parm_type != PARM_FLAG && *rest == '=';
    if (*rest != 0 && !with_argument && !ends_in_colon(row.long_name)) return no_option;

    deprecated_case(rest, row.long_name);
    register_option_form(id, FORM_LONG);
    parsed_option(id);
    if (row.parm_type == PARM_FLAG)
        setopt(id);
    else
        take_argument(id, rest, FORM_LONG);
    return {nullptr, nullptr};
}

// At a '#': each one raises the level of the debug log; a 'v' behind them makes everything volatile. Returns the rest.
const char* option_obj::count_print_debug(const char* text) {
    for (; *text == '#'; text++) {
        register_option_form(OPT_print_debug, FORM_SHORT);
        parsed_option(OPT_print_debug);
        setopt(OPT_print_debug, getnumarg(OPT_print_debug) + 1);
        setopt(OPT_keep_opt_ifile);
    }
    if (*text != 'v' && *text != 'V') return text;
    setopt(OPT_volit_vars);
    return text + 1;
}

// One short form.
option_obj::PARSED option_obj::parse_letters(const char* text) {
    SPELLING_TREE::MATCH match = short_spellings().longest(text);
    if (match.leaf < 0) return {nullptr, text};
    const char* rest = text + match.length;
    if (match.leaf == SPELLING_HELP) {
        if (from_file) return {nullptr, text};
        display_option_help(executable_name, 0);
    }
    if (match.leaf == SPELLING_HASH) return {count_print_debug(text), nullptr};

    auto id = static_cast<option_id>(match.leaf);
    register_option_form(id, FORM_SHORT);
    parsed_option(id);
    if (option_definitions[id].parm_type == PARM_FLAG) {
        setopt(id);
        return {rest, nullptr};
    }
    take_argument(id, rest, FORM_SHORT);
    return {nullptr, nullptr};
}

bool option_obj::process_option(const char* text, const char** error_at) {
    while (text != nullptr && *text != 0) {
        PARSED parsed = *text == '-' ? parse_dash(text + 1) : parse_letters(text);
        if (parsed.failed_behind != nullptr) {
            if (error_at != nullptr) *error_at = parsed.failed_behind - 1;
            return false;
        }
        text = parsed.rest;
    }
    return true;
}
