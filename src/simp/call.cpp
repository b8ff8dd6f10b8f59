// Calls: effects move out of the arguments, and some library functions of constant strings become something cheaper.
//
// A library function is known by its name; a function of that name that the file itself defines, or that a pragma marks
// as nonconforming, is none.
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "icode/opt_client.h"
#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstring>

namespace {

// -------------------------------------------------------------------------------------------- effects in arguments

bool is_builtin_call(const NODE* tree) { return opcode_is_builtin_call(tree->op); }

NODE*& arguments_of(NODE* call) { return is_builtin_call(call) ? call->left : call->right; }

// The value of an argument, below what says how it is passed.
NODE** passed_value(NODE** argument) {
    while ((*argument)->op == ARGREF || (*argument)->op == ACONV) argument = &(*argument)->left;
    return argument;
}

bool has_effect_in_front(NODE* arguments) {
    for (; arguments->op == COMMA; arguments = arguments->left)
        if ((*passed_value(&arguments->right))->op == COMMAOP) return true;
    return (*passed_value(&arguments))->op == COMMAOP;
}

// f(x, (e, y)) -> e, f(x, y), where x has the same value behind e
NODE* hoist_effects(NODE* call, LOOP_RECORD* loop, CONTEXT* context) {
    constexpr size_t most_in_front = 16; // arguments that an effect is moved across
    if (arguments_of(call) == nullptr || !has_effect_in_front(arguments_of(call))) return nullptr;
    std::vector<NODE**> slots; // last argument first
    NODE** slot = &arguments_of(call);
    for (; (*slot)->op == COMMA; slot = &(*slot)->left) slots.push_back(&(*slot)->right);
    slots.push_back(slot);
    NODE* effects = nullptr;
    for (size_t n = slots.size(); n-- > 0 && slots.size() - 1 - n <= most_in_front;) {
        NODE** value = passed_value(slots[n]);
        NODE* comma = *value;
        if (comma->op != COMMAOP) continue;
        bool may_move = true;
        for (size_t i = n + 1; i < slots.size() && may_move; i++)
            may_move = may_be_evaluated_behind(*slots[i], comma->left);
        if (!may_move) continue;
        effects = join_effects(effects, comma->left);
        *value = comma->right;
        erase_node(comma);
    }
    if (effects == nullptr) return nullptr;
    LS* scope = call->scope;
    NODE* top = mk_COMMAOP(effects, simp_node(call, loop, context));
    top->scope = scope;
    return simp_node(top, loop, context);
}

// ------------------------------------------------------------------------------------------------ library functions

// A function that the file declares and does not define.
bool is_of_library(SYMTAB* sym) {
    if (!sym->type->is_func() || sym->sclass != SC_EXTERN_DECL || func_is_nonconforming(sym)) return false;
    const FUNINFO* info = find_FUNINFO_for_symbol(sym);
    return info == nullptr || !function_is_defined(info);
}

// Whether this is a direct call of the library's function of that name (without prefix), with so many arguments.
bool is_call_of(NODE* call, const char* name, int arguments) {
    if (call->op != CALL || opt_level() == 0) return false;
    const NODE* callee = get_callee_for_call(call);
    if (callee == call->left || callee->u.sym == nullptr) return false;
    SYMTAB* sym = callee->u.sym;
    return strcmp(skip_name_prefix(sym->name), name) == 0 && !is_internal_symbol(sym) && is_of_library(sym) &&
           arg_list_count(call->right) == arguments;
}

// The function of the library with that name, as the file declares it; null if there is none to call.
SYMTAB* library_function(const char* name) {
    const FUNINFO* info = find_FUNINFO(name);
    SYMTAB* sym = info != nullptr && info->symbol != nullptr ? info->symbol : find_global(name);
    return sym != nullptr && is_of_library(sym) ? sym : nullptr;
}

const NODE* below_pointer_conversions(const NODE* tree) {
    while (tree->op == PCONV || tree->op == ISP2CHAR || (tree->op == ACONV && tree->type->is_ptr())) tree = tree->left;
    return tree;
}

// The characters of a string constant up to its first 0; null if it is none, or holds no 0.
const NODE* string_constant(const NODE* argument, size_t* length) {
    const NODE* tree = below_pointer_conversions(argument);
    if (tree->op != SCON || !tree->type->is_ptr()) return nullptr;
    const void* end = memchr(tree->text, 0, tree->u.lval.low);
    if (end == nullptr) return nullptr;
    *length = static_cast<size_t>(static_cast<const char*>(end) - tree->text);
    return tree;
}

// An argument as a value: the conversion to the parameter's type becomes a plain one.
NODE* as_value(NODE* argument, LOOP_RECORD* loop, CONTEXT* context) {
    if (argument->op != ACONV) return argument;
    int op = argument->type->is_ptr() ? PCONV : SCONV;
    return simp_node(remake(argument, op, argument->left, nullptr, argument->type), loop, context);
}

NODE* mk_comma(NODE* a, NODE* b) { return maketree(COMMA, a, b, tp->int_type(), a->scope); }

// _sqrt(x) -> SQRT x
NODE* square_root(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_call_of(tree, "_sqrt", 1) || !tree->type->is_fltpt() || !tree->right->type->is_fltpt()) return nullptr;
    NODE* value = coerce_to_type(as_value(tree->right, loop, context), tree->type);
    erase_tree(tree->left);
    return simp_node(remake(tree, SQRT, value, nullptr, tree->type), loop, context);
}

// strlen("text") -> 4
NODE* string_length(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    size_t length;
    if (!is_call_of(tree, "strlen", 1) || !tree->type->is_integral()) return nullptr;
    if (string_constant(tree->right, &length) == nullptr) return nullptr;
    return become_ICON(tree, INT65(static_cast<unsigned long>(length)), value_type(tree->type));
}

// The operands must be those of the call already; `tree` gives its scope and type.
NODE* mk_copy(NODE* tree, NODE* operands, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    NODE* copy = maketree(MEMCPY, operands, nullptr, tp->void_ptr, tree->scope);
    erase_tree(tree->left);
    erase_node(tree);
    return coerce_to_pointer_type(simp_node(copy, loop, context), type);
}

// strcpy(d, "text") -> MEMCPY(d, "text", 5)
NODE* string_copy(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    size_t length;
    if (!is_call_of(tree, "strcpy", 2) || !tree->type->is_ptr() || !tree->right->left->type->is_ptr()) return nullptr;
    if (string_constant(tree->right->right, &length) == nullptr || length + 1 > 65535) return nullptr;
    NODE* pair = tree->right;
    pair->left = as_value(pair->left, loop, context);
    pair->right = as_value(pair->right, loop, context);
    NODE* count = mk_ICON(INT65(static_cast<unsigned long>(length + 1)), tp->ushort_type());
    return mk_copy(tree, mk_comma(pair, count), loop, context);
}

// memmove(d, "text", n) -> MEMCPY(d, "text", n): a constant does not overlap its target
NODE* string_move(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_call_of(tree, "memmove", 3) || !tree->type->is_ptr()) return nullptr;
    NODE* pair = tree->right->left;
    if (!pair->left->type->is_ptr() || !is_integer_like(tree->right->right->type)) return nullptr;
    const NODE* source = below_pointer_conversions(pair->right);
    if (source->op != SCON || !source->type->is_ptr()) return nullptr;
    pair->left = as_value(pair->left, loop, context);
    pair->right = as_value(pair->right, loop, context);
    tree->right->right = as_value(tree->right->right, loop, context);
    return mk_copy(tree, tree->right, loop, context);
}

const RULE call_rules[] = {
    {"effects", "f(x, (e, y)) -> e, f(x, y)", hoist_effects},
    {"_sqrt", "_sqrt(x) -> SQRT x", square_root},
    {"strlen", "strlen(\"text\") -> 4", string_length},
    {"strcpy", "strcpy(d, \"text\") -> MEMCPY(d, \"text\", 5)", string_copy},
    {"memmove", "memmove(d, \"text\", n) -> MEMCPY(d, \"text\", n)", string_move},
};
const RULE_SET call_set("CALL", call_rules);

// --------------------------------------------------------------------------------------- calls without use of the
// value What printf returns is not what puts and fputs return.

// A format that is printed as it stands: all of it, up to the closing 0, and no '%'.
const NODE* plain_format(const NODE* argument, size_t* length) {
    const NODE* text = string_constant(argument, length);
    if (text == nullptr || *length + 1 != text->u.lval.low || memchr(text->text, '%', *length) != nullptr)
        return nullptr;
    return text;
}

// The type of the n-th parameter; null unless the function is declared with it, as a pointer.
TYPE* pointer_parameter(const SYMTAB* function, size_t n) {
    const FUNC_PART* part = function->type->getd(TYPE::K_FUNC)->func.get();
    if (part == nullptr || !part->proto || n >= part->params.size() || part->params[n].type == nullptr) return nullptr;
    TYPE* type = part->params[n].type->normalized();
    return type->is_ptr() ? type : nullptr;
}

// Makes the call one of another function. The old arguments must be gone.
NODE* retarget(NODE* call, SYMTAB* function, NODE* arguments) {
    NODE* name = call->left->left;
    name->u.sym = function;
    name->type = name->orig_type = function->type;
    call->left->type = call->left->orig_type = tp->mk_ptr(function->type);
    call->right = arguments;
    call->u.call.extra_arguments = INT65();
    return call;
}

bool returns_int(SYMTAB* function, const NODE* call) {
    return equiv_mtypes(function->type->return_type(), tp->int_type()) && equiv_mtypes(call->type, tp->int_type());
}

// printf("text\n") -> puts("text")
NODE* printf_to_puts(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    size_t length;
    if (!is_call_of(tree, "printf", 1)) return nullptr;
    const NODE* format = plain_format(tree->right, &length);
    if (format == nullptr || length == 0 || format->text[length - 1] != '\n') return nullptr;
    SYMTAB* function = library_function("puts");
    TYPE* type = function != nullptr && returns_int(function, tree) ? pointer_parameter(function, 0) : nullptr;
    if (type == nullptr) return nullptr;
    NODE* text = maketree(SCON, nullptr, nullptr, format->type, tree->scope);
    text->mk_scon(format->text, static_cast<uint32_t>(length)); // the newline's place takes the closing 0
    text->text[length - 1] = 0;
    erase_tree(tree->right);
    return retarget(tree, function, coerce_to_pointer_type(text, type));
}

// What a call of fputs needs to be declared; null if something is missing.
SYMTAB* fputs_function(const NODE* call, TYPE*& text_type, TYPE*& file_type) {
    SYMTAB* function = library_function("fputs");
    if (function == nullptr || !returns_int(function, call)) return nullptr;
    text_type = pointer_parameter(function, 0);
    file_type = pointer_parameter(function, 1);
    return text_type != nullptr && file_type != nullptr ? function : nullptr;
}

// printf("text") -> fputs("text", &_ftable[1])
NODE* printf_to_fputs(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    size_t length;
    if (!is_call_of(tree, "printf", 1) || plain_format(tree->right, &length) == nullptr) return nullptr;
    TYPE *text_type, *file_type;
    SYMTAB* function = fputs_function(tree, text_type, file_type);
    SYMTAB* files = function != nullptr ? find_global("_ftable") : nullptr;
    if (files == nullptr || !files->type->is_array()) return nullptr;
    TYPE* element = files->type->elem_type();
    TYPE* pointer = tp->mk_ptr(element);
    NODE* file = maketree(PLUS, mk_UAND(mk_NAME(files), pointer), mk_ICON(type_stride(element) / 16, tp->ptr_int()),
                          pointer, tree->scope);
    NODE* text = coerce_to_pointer_type(as_value(tree->right, nullptr, nullptr), text_type);
    return retarget(tree, function, mk_comma(text, coerce_to_pointer_type(simp_node(file), file_type)));
}

// fprintf(f, "text") -> fputs("text", f)
NODE* fprintf_to_fputs(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    size_t length;
    if (!is_call_of(tree, "fprintf", 2) || plain_format(tree->right->right, &length) == nullptr) return nullptr;
    TYPE *text_type, *file_type;
    SYMTAB* function = fputs_function(tree, text_type, file_type);
    if (function == nullptr || !tree->right->left->type->is_ptr()) return nullptr;
    NODE* pair = tree->right;
    NODE* file = coerce_to_pointer_type(as_value(pair->left, nullptr, nullptr), file_type);
    pair->left = coerce_to_pointer_type(as_value(pair->right, nullptr, nullptr), text_type);
    pair->right = file;
    return retarget(tree, function, pair);
}

const RULE unused_call_rules[] = {
    {"puts", "printf(\"text\\n\") -> puts(\"text\")", printf_to_puts},
    {"fputs", "printf(\"text\") -> fputs(\"text\", stdout)", printf_to_fputs},
    {"fprintf", "fprintf(f, \"text\") -> fputs(\"text\", f)", fprintf_to_fputs},
};
const RULE_SET unused_call_set("CALL without use of the value", unused_call_rules);

} // namespace

NODE* simp_call(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return call_set.run(tree, loop, context); }

NODE* simp_unused_call(NODE* call) { return unused_call_set.run(call, nullptr, nullptr); }
