// What an option_obj writes: words that replay it, listings, help.
#include "driver/optobj.h"

#include "driver/open_files.h"
#include "driver/safealloc.h"

#include <cstring>

// ------------------------------------------------------------------------------------------------------------- export

std::string option_obj::export_option(option_id id, size_t index) const {
    const OPTION_ROW& row = option_definitions[id];
    if (!has_spelling(id)) return "";
    std::string word = std::string("--") + row.long_name;
    if (index >= state_[id].args.size()) return row.alone == option_needs_argument ? "" : word;
    if (!ends_in_colon(row.long_name)) word += "=";
    if (row.parm_type != PARM_VALUE) return word + getstrarg(id, index);
    const OPTION_VALUE_ROW* value = value_by_number(id, getnumarg(id, index));
    return value != nullptr ? word + value->text : "";
}

bool option_obj::exports(option_id id, EXPORT_KIND kind) const {
    if (isset(id)) return true;
    return kind == EXPORT_GIVEN && state_[id].parsed_count != 0 && option_definitions[id].parm_type == PARM_FLAG;
}

std::vector<std::pair<option_id, std::string>> option_obj::export_option_pairs(EXPORT_KIND kind, class_id of) const {
    std::vector<std::pair<option_id, std::string>> pairs;
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        auto id = static_cast<option_id>(i);
        if (!isclass(id, of) || !exports(id, kind)) continue;
        size_t index = 0;
        do {
            std::string word = export_option(id, index);
            if (!word.empty()) pairs.emplace_back(id, std::move(word));
        } while (++index < getargcount(id));
    }
    return pairs;
}

std::vector<std::string> option_obj::export_option_class(EXPORT_KIND kind, class_id of) const {
    std::vector<std::string> words;
    for (auto& [id, word] : export_option_pairs(kind, of)) words.push_back(std::move(word));
    return words;
}

// ----------------------------------------------------------------------------------------------------------- listings

std::string option_obj::format_of_option(option_id id) const {
    const OPTION_ROW& row = option_definitions[id];
    if (!has_spelling(id)) return row.name;
    bool short_form = state_[id].form == FORM_SHORT && row.short_name[0] != 0;
    return short_form ? std::string("-") + row.short_name : std::string("--") + row.long_name;
}

const char* option_obj::internal_option_string(option_id id) { return option_definitions[id].name; }

void option_obj::print() const {
    for (const std::string& word : export_option_list(EXPORT_ALL)) printf("%s\n", word.c_str());
}

void option_obj::dump(int all) const {
    printf("%-32s %6s %6s %6s  %s\n", file_name.c_str(), "state", "set", "parsed", "arguments");
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        auto id = static_cast<option_id>(i);
        const STATE& s = state_[i];
        if (all == 0 && s.set_count == 0 && s.parsed_count == 0) continue;
        printf("%2d %-29s %6d %6d %6d ", i, internal_option_string(id), s.state, s.set_count, s.parsed_count);
        for (const an_argument_t& argument : s.args) printf(" \"%s\" (%ld)", argument.text.c_str(), argument.number);
        printf("\n");
    }
}

void option_obj::dump_history() const {
    int number = 0;
    for (const OPTION_HISTORY& entry : history_)
        printf("%3d: %s \"%s\" (%ld)\n", ++number, internal_option_string(entry.id), entry.argument.text.c_str(),
               entry.argument.number);
}

// --------------------------------------------------------------------------------------------------------------- help

namespace {

constexpr int help_width = 40; // of the left column

void help_line(const std::string& left, const char* text, const std::string& behind) {
    printf("%-*.*s", help_width, help_width, left.c_str());
    printf("%s%s\n", text, behind.c_str());
}

void help_on_option(option_id id) {
    const OPTION_ROW& row = option_definitions[id];
    std::string absent = row.absent[0] == 0           ? ""
                         : row.parm_type == PARM_FLAG ? " (default)"
                                                      : " (default: " + std::string(row.absent) + ")";
    help_line(option_obj::get_opt_txt(id), row.help, absent);
}

void help_on_group(OPTION_GROUP group) {
    printf("\n%s:\n", option_group_titles[group]);
    if (group == GROUP_GENERAL) help_line("  -?,  --help, --usage", "print this list and stop", "");
    for (int id = 0; id < COUNT_OPTIONS; id++)
        if (option_definitions[id].group == group && has_spelling(static_cast<option_id>(id)))
            help_on_option(static_cast<option_id>(id));
}

} // namespace

std::string option_obj::get_opt_txt(option_id id) {
    const OPTION_ROW& row = option_definitions[id];
    std::string text = row.short_name[0] != 0 ? std::string("  -") + row.short_name + "," : "";
    text.resize(7, ' ');
    text += std::string("--") + row.long_name;
    if (row.parm_type == PARM_FLAG) return text;
    if (!ends_in_colon(row.long_name)) text += "=";
    return text +
           (row.parm_type == PARM_VALUE ? "{" + value_list(id, ",") + "}" : "<" + std::string(row.parameter) + ">");
}

void option_obj::dump_class(class_id of) {
    for (int i = 0; i < COUNT_OPTIONS; i++) {
        auto id = static_cast<option_id>(i);
        if (has_spelling(id) && isclass(id, of)) help_on_option(id);
    }
}

void option_obj::dump_basic_class() {
    for (int group = 0; group < GROUP_INTERNAL; group++) help_on_group(static_cast<OPTION_GROUP>(group));
    printf("\n"
           "Short options without an argument may share a word: -sk. The argument of a short one is the rest of its\n"
           "word or the next word: -o2, -o 2. Numbers may be hexadecimal (0x10) or octal (010).\n");
}

void option_obj::display_option_help(const char* program, int help_class) {
    const char* slash = strrchr(program, '/');
    printf("Usage: %s [-options] filename\n\n", slash != nullptr ? slash + 1 : program);
    printf("This tool is designed to be invoked by the compiler.\n");
    if (help_class == 0)
        dump_basic_class();
    else
        dump_class(static_cast<class_id>(help_class));
    fflush(stdout);
    end_run(0);
}

void option_obj::print_banner(FILE* to) { fprintf(to, "%s\n", nxopt_banner); }

void option_obj::display_version() {
    print_banner(stdout);
    printf("Build Number %s\n", build_id());
    fflush(stdout);
    end_run(0);
}
