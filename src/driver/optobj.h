// option_obj: one set of options, parsed from words of the command line or from what an icode file records.
//
// The driver keeps one object for the command line and one for each option set of the file. The command line's options
// are replayed into each of the others, so that they win. Whatever is wrong with an argument ends the run with status 1
// and a text that names the option.
#ifndef DRIVER_OPTOBJ_H
#define DRIVER_OPTOBJ_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

struct OPTION_SET;

enum option_id : int {
#define OPTION(id, name, long_name, short_name, argument, group, parameter, bare, help) OPT_##name = id,
#define OPTION_VALUE(option, number, text)
#include "driver/options.def"
    COUNT_OPTIONS
};

constexpr long VECTORIZE_ON = 50, OPT_LEVEL_OFF = -1, ENDIAN_BIG = 0, FP_MODE_STRICT = 1;

struct an_argument_t {
    long number = 0;
    std::string text;
};

enum EXPORT_KIND { EXPORT_ALL = 0, EXPORT_GIVEN = 1, EXPORT_SET = 2 }; // all that are set; state or parsed; state alone

class option_obj {
  public:
    explicit option_obj(bool quiet = true) : quiet_(quiet) {}

    // Parses one word, given without its first dash; further words that its argument takes come from next_arg. False if
    // the text is no option of the program; `error_at` then points at the place in the text.
    bool process_option(const char* text, const char** error_at = nullptr);

    void setopt(option_id);
    void setopt(option_id, long number);
    void setopt(option_id, const char* text);
    void clearopt(option_id);

    bool isset(option_id id) const { return state_[id].state != 0; }
    bool operator()(option_id id) const { return isset(id); }
    size_t getargcount(option_id id) const { return state_[id].args.size(); }
    long getnumarg(option_id, size_t index = 0) const;        // 0 if there is no such argument
    const char* getstrarg(option_id, size_t index = 0) const; // "" if there is none

    // The option as a word that process_option understands, with both dashes.
    std::string export_option(option_id, size_t index) const;
    // One pair for a set flag, one for each argument of any other option, by id.
    std::vector<std::pair<option_id, std::string>> export_option_pairs(EXPORT_KIND) const;
    // The name as the user wrote it, for messages.
    std::string format_of_option(option_id) const;

    // Words of this object come from an icode file: those that print something and stop are no options then.
    bool from_file = false;

    static const char* (*next_arg)(); // next word of the command line, null at its end
    static const char* executable_name;
    static void print_banner(FILE*);
    [[noreturn]] static void display_option_help();
    [[noreturn]] static void display_version();

  private:
    struct STATE {
        int state = 0; // how often it was set
        int set_count = 0;
        int parsed_count = 0;
        bool written_short = false;
        std::vector<an_argument_t> args;
    };

    bool parse_long(const char* text, const char*& error_at);
    bool parse_short(const char* text, const char*& error_at);
    bool parse_debug_letter(const char*& text);
    void take_argument(option_id, const char* text);
    void note_form(option_id, bool short_form);
    void setopt_internal(option_id);
    void store(option_id, an_argument_t);
    void replay(const option_obj& from);
    friend void make_all_option_sets(const std::vector<OPTION_SET>&);

    STATE state_[COUNT_OPTIONS];
    bool quiet_;
};

// Numbers: hexadecimal behind 0x, octal behind 0, else decimal. `failed` is set if characters are left over or the
// value does not fit.
int get_radix(const char* text);
long strtol_by_radix(const char* text, bool& failed);
unsigned long strtoul_by_radix(const char* text, bool& failed);

extern option_obj* cmdline_options;
extern option_obj* file_options; // set 0

// Makes the objects of all option sets: what the file recorded, then the options of the command line. A file without
// sets gets one, number 0. Also fills option_queries.
void make_all_option_sets(const std::vector<OPTION_SET>&);
bool any_option_set_is_level_0();
void reset_options(); // forgets all objects
[[noreturn]] void report_invalid_option(const char* as_typed);

// ---- queries. Each answers from the set of the current function, or of the file when there is none.
option_obj* options_in_force(); // null before there are any
int option_opt_level();         // 0 to 4; 1 if not given
int option_size_speed_goal();   // 0 to 5; 4 if not given
int auto_inline();
bool fp_add_is_associative();
bool saturating_add_is_associative();
int interrupt_threshold();
bool use_llvm();

long print_debug_option(); // --print_debug of the file, 0 if not given
bool vectorize_is_on();

#endif
