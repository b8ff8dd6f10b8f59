// option_obj: one set of options, parsed from words of the command line or from what an icode file records.
//
// The driver keeps one object for the command line and one for each option set of the file (driver/option_sets). Any
// object can be exported as words that another one parses again; this is how the command line is laid over what the
// file records. Whatever is wrong with an argument is told through report_diagnostic and ends the run with status 1; a
// word that is no option at all is for the caller to report.
//
// Life of a setting:  the parser recognises an option (parsed_option), checks and stores its argument (setarg), counts
// the setting and clears what it conflicts with (setopt_internal), and notes it in the history (add_to_history).
#ifndef DRIVER_OPTOBJ_H
#define DRIVER_OPTOBJ_H

#include "driver/option_table.h"

#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

class DIAGNOSTIC;

constexpr long VECTORIZE_ON = 50, OPT_LEVEL_OFF = -1, ENDIAN_BIG = 0, FP_MODE_STRICT = 1;

// Argument of an option: the text for strings, the number for numbers and values. Ordered by number, then by text.
struct an_argument_t {
    long number = 0;
    std::string text;
    bool operator<(const an_argument_t& o) const { return number != o.number ? number < o.number : text < o.text; }
    bool operator==(const an_argument_t& o) const { return number == o.number && text == o.text; }
};

// One setting, in the order in which they were made.
struct OPTION_HISTORY {
    option_id id;
    an_argument_t argument;
};

enum OPTION_FORM : uint8_t { FORM_LONG, FORM_SHORT };

enum EXPORT_KIND {
    EXPORT_ALL = 0,   // what is set, whoever set it
    EXPORT_GIVEN = 1, // what the user gave: set, or a flag that was parsed and cleared since
    EXPORT_SET = 2    // what is set
};

// How an argument is written. Short forms take the rest of the word or the next word; a long form, 9 higher than its
// short form, takes what stands behind '='. The numbers 6, 7, 15 and 16 are no types.
enum PARSE_TYPE {
    PARSE_NUMBER = 0,
    PARSE_SIGNED = 1,
    PARSE_UNSIGNED = 2,
    PARSE_TEXT = 3,
    PARSE_ONEOF = 4,
    PARSE_NUMBERS = 5,
    PARSE_RANGED = 8,
    PARSE_LONG_FORM = 9, // to be added
    COUNT_PARSE_TYPES = 18
};

class option_obj {
  public:
    using option_id = ::option_id;
    using class_id = ::class_id;

    // A quiet object leaves conflicting options side by side.
    explicit option_obj(bool quiet = true) : quiet_(quiet) {}

    // ---- parsing

    // Parses one word, given without its first dash; further words that its argument takes come from next_arg. False if
    // the word is no option of the program. *error_at is then where it went wrong: in a long form the first letter with
    // which no option goes on; in short forms the place before the letter that is none, which is the dash in front of
    // `text` if it is the first one.
    bool process_option(const char* text, const char** error_at = nullptr);

    // The argument of an option whose spelling has been read, `rest` being what follows it. Null if the option stands
    // alone. Numbers have been checked against the range.
    const char* parse_arg(option_id, const char* rest, const char* parameter, int type, OPTION_BOUNDS);
    long check_numerical_arg(int type, option_id, const char* text, OPTION_BOUNDS);
    long parse_oneof(option_id, const char* text); // number of one of the option's values

    // ---- setting. Arguments of strings given as numbers are stored as decimal text, and the other way round.

    void setopt(option_id);
    void setopt(option_id, long number);
    void setopt(option_id, const char* text);
    void setopt(class_id of) { setclassmembers(of); }
    void setarg(option_id, long number); // stores only: counts nothing
    void setarg(option_id, const char* text);
    void setopt_internal(option_id); // counts a setting and resolves conflicts
    void parsed_option(option_id);   // counts a recognition
    void register_option_form(option_id, OPTION_FORM);
    void clearopt(option_id); // state and arguments; the counts and the history stay
    void clearopt(class_id of) { clearclassmembers(of); }
    void setclassmembers(class_id); // every member, without arguments
    void clearclassmembers(class_id);
    void add_to_history(option_id); // with the last argument; all but lists are in the history once
    void clear_history(option_id);
    void addfileopt(option_id, const char* file); // notes in the history that a file gave the option
    void post_process_option_depends() {}         // when all options are in; no option depends on another one here

    // ---- asking

    bool isset(option_id id) const { return state_[id].state != 0; }
    bool operator()(option_id id) const { return isset(id); }
    int state_count(option_id id) const { return state_[id].state; }   // settings since it was cleared last
    int set_count(option_id id) const { return state_[id].set_count; } // settings in all
    int parsed_count(option_id id) const { return state_[id].parsed_count; }
    size_t getargcount(option_id id) const { return state_[id].args.size(); }
    long getnumarg(option_id, size_t index = 0) const;                      // 0 if there is no such argument
    const char* getstrarg(option_id, size_t index = 0) const;               // "" if there is none
    bool get_argument(option_id, an_argument_t*) const;                     // the last one; false if there is none
    bool args_match_list(option_id, const std::vector<std::string>&) const; // the arguments as texts are the list
    bool testclass(class_id) const;                                         // a member is set
    bool seenclass(class_id) const;                                         // a member was set or parsed
    static bool isclass(option_id, class_id);
    static std::vector<class_id> class_list_for_option(option_id); // all but 0
    const std::vector<OPTION_HISTORY>& history() const { return history_; }

    // ---- export, in the order of the ids. Options without a spelling are left out.

    // The option as a word that process_option understands behind its first dash; "" if there is none.
    std::string export_option(option_id, size_t index) const;
    // One pair for an option without arguments, else one for each.
    std::vector<std::pair<option_id, std::string>> export_option_pairs(EXPORT_KIND, class_id = class_id::ALL) const;
    std::vector<std::string> export_option_class(EXPORT_KIND, class_id) const;
    std::vector<std::string> export_option_list(EXPORT_KIND kind) const {
        return export_option_class(kind, class_id::ALL);
    }

    // ---- output

    std::string format_of_option(option_id) const;        // as the user wrote it, for messages
    static const char* internal_option_string(option_id); // its name in the program, for logs
    void print() const;                                   // to standard output: all that is set, a word a line
    void dump(int all) const;                             // to standard output: counts and arguments; 0: what was used
    void dump_history() const;                            // to standard output
    static void dump_class(class_id);                     // help on its members
    static void dump_basic_class();                       // help on all options, by group
    static std::string get_opt_txt(option_id);            // the left column of the help
    static void print_banner(FILE*);
    [[noreturn]] static void display_option_help(const char* program, int help_class); // class 0: dump_basic_class
    [[noreturn]] static void display_version();
    // Tells a message, under `origin` if there is one. Returns if the message was no error.
    void report_diagnostic(DIAGNOSTIC&) const;

    // ---- merging the options of several files into one object. Errors end the run with status 1.

    // How one option of `other` is merged into `into`.
    using MERGE_POLICY = void (*)(option_obj& into, option_id, const option_obj& other);
    // Asked before a merge conflict is an error: true if the two options may stand together after all.
    using MERGE_OVERRIDE = bool (*)(const option_obj& into, option_id, const option_obj& other);

    void merge_init(const option_obj& other);    // takes the options of the main object, which must live on
    void merge_options(const option_obj& other); // each option by its policy, then the conflicts
    static void merge_policy_none(option_obj&, option_id, const option_obj&);         // keep what this object has
    static void merge_policy_or(option_obj&, option_id, const option_obj&);           // set if set in either
    static void merge_policy_and(option_obj&, option_id, const option_obj&);          // set if set in both
    static void merge_policy_main(option_obj&, option_id, const option_obj&);         // as in the main object
    static void merge_policy_exact(option_obj&, option_id, const option_obj&);        // alike in both
    static void merge_policy_exact_notset(option_obj&, option_id, const option_obj&); // alike where both have it
    static void merge_policy_max(option_obj&, option_id, const option_obj&);          // the greater argument
    static void merge_policy_min(option_obj&, option_id, const option_obj&);          // the smaller argument
    void do_merge_conflicts(option_id, const option_obj& other);

    // The rules. Row: the option that is being set (merged); column: one that is set already. An entry is 0: none,
    // 1: clears the earlier one, 2: the same with a warning, 3: an error. This program has no conflicts and merges
    // nothing, so that all entries are 0 and null.
    static uint8_t conflicts[COUNT_OPTIONS][COUNT_OPTIONS];
    static uint8_t merge_conflicts[COUNT_OPTIONS][COUNT_OPTIONS];
    static MERGE_POLICY merge_policy_functions[COUNT_OPTIONS];
    static MERGE_OVERRIDE mutex_merge_override_functions[COUNT_OPTIONS];

    static const char* (*next_arg)(); // next word of the command line, null at its end
    static const char* executable_name;

    // Words of this object come from an icode file: those that print something and stop are no options then, and no
    // argument stands in another word.
    bool from_file = false;
    std::string file_name = "<internal>"; // whose options they are, for messages about merging
    std::string origin;                   // said in front of each message; empty for the command line
    int debug_level = 0;                  // not 0: every step is told on standard output

  private:
    struct STATE {
        int state = 0;
        int set_count = 0;
        int parsed_count = 0;
        OPTION_FORM form = FORM_LONG;
        std::vector<an_argument_t> args;
    };
    // What parsing one option leaves: the rest of the word (null: nothing), or where the word failed.
    struct PARSED {
        const char* rest;
        const char* failed_behind; // null: understood; else one behind the place
    };

    PARSED parse_dash(const char* text);
    PARSED parse_letters(const char* text);
    const char* count_print_debug(const char* text);
    void take_argument(option_id, const char* rest, OPTION_FORM);
    void deprecated_case(const char* rest, const char* correct_name) const;
    void do_conflicts(option_id);
    void resolve_conflict(int rule, option_id setting, option_id earlier);
    void store(option_id, an_argument_t);
    bool exports(option_id, EXPORT_KIND) const;
    [[noreturn]] void fail(DIAGNOSTIC&) const; // tells and ends the run with status 1
    void debug_line(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    STATE state_[COUNT_OPTIONS];
    std::vector<OPTION_HISTORY> history_;
    const option_obj* main_ = nullptr; // of merge_init
    bool quiet_;
};

// Numbers: hexadecimal behind 0x, octal behind 0, else decimal. *failed is set to 1, else to 0, if characters are left
// over or the value does not fit in a long.
int get_radix(const char* text);
long strtol_by_radix(const char* text, int* failed);
unsigned long strtoul_by_radix(const char* text, int* failed);

#endif
