#include "driver/debug_switches.h"

#include "ir/vars.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr size_t key_size = 512; // of a full name, with its end
constexpr size_t growth = 100;   // pairs by which the store grows

struct ASSOC_PAIR {
    std::string name;
    int value;
};

// Reached through a function, for handles are made, and may be set, before main.
std::vector<ASSOC_PAIR>& assoc_array() {
    static std::vector<ASSOC_PAIR> pairs;
    return pairs;
}

std::vector<ASSOC_PAIR>::iterator place_of(const char* name) {
    auto& pairs = assoc_array();
    return std::lower_bound(pairs.begin(), pairs.end(), name,
                            [](const ASSOC_PAIR& p, const char* n) { return strcmp(p.name.c_str(), n) < 0; });
}

int value_of(const char* name) {
    auto at = place_of(name);
    return at != assoc_array().end() && at->name == name ? at->value : 0;
}

void set_value(const char* name, int value) {
    auto at = place_of(name);
    auto& pairs = assoc_array();
    if (at != pairs.end() && at->name == name) {
        at->value = value;
        return;
    }
    size_t index = static_cast<size_t>(at - pairs.begin());
    if (pairs.size() % growth == 0) pairs.reserve(pairs.size() + growth);
    pairs.insert(pairs.begin() + static_cast<std::ptrdiff_t>(index), ASSOC_PAIR{name, value});
}

int value_of_kind(const char* kind, const char* name) {
    if (assoc_array().empty()) return 0; // asked for every step of every function
    char key[key_size];
    snprintf(key, sizeof key, "%s:%s", kind, name);
    return value_of(key);
}

std::vector<std::string*>& registered_names() {
    static std::vector<std::string*> names; // each lives for the run: handles point at the text
    return names;
}

const char* find_registered(const char* name) {
    for (const std::string* known : registered_names())
        if (*known == name) return known->c_str();
    return nullptr;
}

} // namespace

int pass_debug(const char* name) { return value_of_kind("debug", name); }
int pass_enable(const char* name) { return value_of_kind("enable", name); }
bool pass_disable(const char* name) { return value_of_kind("disable", name) != 0; }

void process_debug_option(const char* kind, const char* text) {
    for (const char* piece = text;;) {
        size_t length = strcspn(piece, ",");
        std::string name(piece, length);
        int value = 1;
        size_t equals = name.find('=');
        if (equals != std::string::npos) {
            value = static_cast<int>(strtol(name.c_str() + equals + 1, nullptr, 0));
            name.resize(equals);
        }
        char key[key_size];
        snprintf(key, sizeof key, "%s:%s", kind, name.c_str());
        set_value(key, value);
        if (piece[length] == 0) return;
        piece += length + 1;
    }
}

register_option::register_option(const char* name) : name_(find_registered(name)) {
    if (name_ != nullptr) return;
    registered_names().push_back(new std::string(name));
    name_ = registered_names().back()->c_str();
}

register_option::operator int() const { return value_of(name_); }

register_option& register_option::operator=(int value) {
    set_value(name_, value);
    return *this;
}

void register_option::dump(FILE* to) const { fprintf(to, "%s = %d\n", name_, value_of(name_)); }
bool register_option::is_registered(const char* name) { return find_registered(name) != nullptr; }

size_t debug_switch_count() { return assoc_array().size(); }
size_t debug_switch_capacity() { return assoc_array().capacity(); }
const char* debug_switch_name(size_t i) { return assoc_array()[i].name.c_str(); }
void clear_debug_switches() { std::vector<ASSOC_PAIR>().swap(assoc_array()); }

#define DEBUG_SWITCH(kind, handle, name) register_option pass_##kind##_##handle(#kind ":" name);
#include "driver/debug_switches.def"
