// The table of options (options.def) as the program sees it, and the trees of spellings that the parser walks.
#ifndef DRIVER_OPTION_TABLE_H
#define DRIVER_OPTION_TABLE_H

#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

enum option_id : int {
#define OPTION(id, name, long_name, short_name, kind, classes, group, parameter, alone, absent, help) OPT_##name = id,
#define OPTION_RANGE(name, lowest, highest)
#define OPTION_VALUE(name, number, text, also)
#include "driver/options.def"
    COUNT_OPTIONS // ends a list of ids, too
};

// Classes run from 1 to 11; class 0 is all options.
enum class class_id : int { ALL = 0 };
constexpr int count_option_classes = 12;

// What an option takes. Kind 3 (one value of the program's own) and kinds 6 and 7 (lists of numbers) have no option.
enum PARM_TYPE : uint8_t {
    PARM_FLAG = 0,
    PARM_STRING = 1,
    PARM_NUMBER = 2,
    PARM_OWN = 3,
    PARM_VALUE = 4,
    PARM_STRINGS = 5,
    PARM_NUMBERS = 6,
    PARM_UNSIGNED_NUMBERS = 7
};

enum OPTION_GROUP {
    GROUP_GENERAL,
    GROUP_OPTIMIZE,
    GROUP_INLINE,
    GROUP_ALIAS,
    GROUP_FLOAT,
    GROUP_LANGUAGE,
    GROUP_TARGET,
    GROUP_OUTPUT,
    GROUP_DEBUG,
    GROUP_INTERNAL // not for users
};
extern const char* const option_group_titles[GROUP_INTERNAL];

constexpr long option_is_textless = LONG_MIN;        // alone, the option is set without an argument
constexpr long option_needs_argument = LONG_MIN + 1; // alone, the option is an error

struct OPTION_ROW {
    const char* name;
    const char* long_name;  // without the dashes; empty: no spelling
    const char* short_name; // without the dash; empty: no short form
    PARM_TYPE parm_type;
    uint16_t classes; // bit n: class n
    OPTION_GROUP group;
    const char* parameter; // what messages and help call the argument
    long alone;            // number of the long form without an argument, or one of the two constants above
    const char* absent;    // what holds when the option is not given
    const char* help;
};
extern const OPTION_ROW option_definitions[COUNT_OPTIONS];

inline bool has_spelling(option_id id) { return option_definitions[id].long_name[0] != 0; }
bool ends_in_colon(const char* name);

// Bounds of a number, both inclusive.
struct OPTION_BOUNDS {
    unsigned long lowest, highest;
};
constexpr OPTION_BOUNDS full_range{0, 0x7FFFFFFF}, full_unsigned_range{0, 0xFFFFFFFF};
OPTION_BOUNDS range_of_option(option_id);

// The arguments of a PARM_VALUE option.
struct OPTION_VALUE_ROW {
    option_id option;
    long number;
    const char* text;
    const char* also; // a second text for the same, or empty
};
const OPTION_VALUE_ROW* value_by_text(option_id, const char* text); // in any case; null if there is none
const OPTION_VALUE_ROW* value_by_number(option_id, long number);    // null if there is none
std::string value_list(option_id, const char* separator);           // the texts, in the order of the table

// Words with a number each, as a tree of letters. Letters match in either case.
class SPELLING_TREE {
  public:
    struct MATCH {
        int leaf = -1;       // number of the longest word that begins the text, -1 if none does
        size_t length = 0;   // its length
        size_t furthest = 0; // how far the text goes along with any word
    };
    void add(const char* word, int leaf);
    MATCH longest(const char* text) const;

  private:
    struct LETTER {
        char letter;
        int leaf, first_child, next_sibling; // -1: none
    };
    int child(int of, char letter) const;
    std::vector<LETTER> letters_{{0, -1, -1, -1}}; // the first one is the root
};

// What the parser meets beside options: words that print and stop, and the letter that counts the log level up.
enum SPECIAL_SPELLING { SPELLING_HELP = COUNT_OPTIONS, SPELLING_VERSION, SPELLING_HASH };
const SPELLING_TREE& long_spellings();
const SPELLING_TREE& short_spellings();

#endif
