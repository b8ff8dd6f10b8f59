#include "driver/option_table.h"

#include "driver/safealloc.h"

#include <cctype>
#include <cstring>

const char* const option_group_titles[GROUP_INTERNAL] = {
    "General",  "Optimization",       "Inlining",           "What the program promises",        "Floating point",
    "Language", "The target machine", "Messages and files", "Debugging of the optimizer itself"};

namespace {

template <typename... NUMBERS> constexpr uint16_t class_mask(NUMBERS... numbers) {
    return static_cast<uint16_t>((0 | ... | (1 << numbers)));
}

constexpr PARM_TYPE FLAG = PARM_FLAG, STRING = PARM_STRING, NUMBER = PARM_NUMBER, VALUE = PARM_VALUE,
                    STRINGS = PARM_STRINGS;
constexpr long TEXTLESS = option_is_textless, NEEDED = option_needs_argument;

constexpr OPTION_VALUE_ROW values[] = {
#define OPTION(id, name, long_name, short_name, kind, classes, group, parameter, alone, absent, help)
#define OPTION_RANGE(name, lowest, highest)
#define OPTION_VALUE(name, number, text, also) {OPT_##name, number, text, also},
#include "driver/options.def"
};

struct RANGE_ROW {
    option_id option;
    OPTION_BOUNDS bounds;
};
constexpr RANGE_ROW ranges[] = {
#define OPTION(id, name, long_name, short_name, kind, classes, group, parameter, alone, absent, help)
#define OPTION_RANGE(name, lowest, highest) {OPT_##name, {lowest, highest}},
#define OPTION_VALUE(name, number, text, also)
#include "driver/options.def"
};

constexpr int ids[] = {
#define OPTION(id, name, long_name, short_name, kind, classes, group, parameter, alone, absent, help) id,
#define OPTION_RANGE(name, lowest, highest)
#define OPTION_VALUE(name, number, text, also)
#include "driver/options.def"
};
constexpr bool ids_are_positions() {
    for (int i = 0; i < COUNT_OPTIONS; i++)
        if (ids[i] != i) return false;
    return true;
}
static_assert(COUNT_OPTIONS == 69 && ids_are_positions());

char lower(char c) { return static_cast<char>(tolower(static_cast<unsigned char>(c))); }

} // namespace

const OPTION_ROW option_definitions[COUNT_OPTIONS] = {
#define OPTION(id, name, long_name, short_name, kind, classes, group, parameter, alone, absent, help)                  \
    {#name, long_name, short_name, kind, class_mask classes, GROUP_##group, parameter, alone, absent, help},
#define OPTION_RANGE(name, lowest, highest)
#define OPTION_VALUE(name, number, text, also)
#include "driver/options.def"
};

bool ends_in_colon(const char* name) { return name[0] != 0 && name[strlen(name) - 1] == ':'; }

OPTION_BOUNDS range_of_option(option_id id) {
    for (const RANGE_ROW& row : ranges)
        if (row.option == id) return row.bounds;
    return full_range;
}

const OPTION_VALUE_ROW* value_by_text(option_id id, const char* text) {
    for (const OPTION_VALUE_ROW& row : values)
        if (row.option == id &&
            (strcaseicmp(row.text, text) == 0 || (row.also[0] != 0 && strcaseicmp(row.also, text) == 0)))
            return &row;
    return nullptr;
}

const OPTION_VALUE_ROW* value_by_number(option_id id, long number) {
    for (const OPTION_VALUE_ROW& row : values)
        if (row.option == id && row.number == number) return &row;
    return nullptr;
}

std::string value_list(option_id id, const char* separator) {
    std::string list;
    for (const OPTION_VALUE_ROW& row : values)
        if (row.option == id) list += (list.empty() ? "" : separator) + std::string(row.text);
    return list;
}

// ------------------------------------------------------------------------------------------------------------- trees

int SPELLING_TREE::child(int of, char letter) const {
    int at = letters_[of].first_child;
    while (at >= 0 && letters_[at].letter != letter) at = letters_[at].next_sibling;
    return at;
}

void SPELLING_TREE::add(const char* word, int leaf) {
    int at = 0;
    for (; *word != 0; word++) {
        int next = child(at, lower(*word));
        if (next < 0) {
            next = static_cast<int>(letters_.size());
            letters_.push_back({lower(*word), -1, -1, letters_[at].first_child});
            letters_[at].first_child = next;
        }
        at = next;
    }
    letters_[at].leaf = leaf;
}

SPELLING_TREE::MATCH SPELLING_TREE::longest(const char* text) const {
    MATCH match;
    for (int at = 0; text[match.furthest] != 0; match.furthest++) {
        at = child(at, lower(text[match.furthest]));
        if (at < 0) break;
        if (letters_[at].leaf < 0) continue;
        match.leaf = letters_[at].leaf;
        match.length = match.furthest + 1;
    }
    return match;
}

const SPELLING_TREE& long_spellings() {
    static const SPELLING_TREE tree = [] {
        SPELLING_TREE t;
        for (int id = 0; id < COUNT_OPTIONS; id++)
            if (option_definitions[id].long_name[0] != 0) t.add(option_definitions[id].long_name, id);
        t.add("help", SPELLING_HELP);
        t.add("usage", SPELLING_HELP);
        t.add("toolversion", SPELLING_VERSION);
        t.add("version", SPELLING_VERSION);
        return t;
    }();
    return tree;
}

const SPELLING_TREE& short_spellings() {
    static const SPELLING_TREE tree = [] {
        SPELLING_TREE t;
        for (int id = 0; id < COUNT_OPTIONS; id++)
            if (option_definitions[id].short_name[0] != 0) t.add(option_definitions[id].short_name, id);
        t.add("h", OPT_std_lib_func_defined);
        t.add("?", SPELLING_HELP);
        t.add("#", SPELLING_HASH);
        return t;
    }();
    return tree;
}
