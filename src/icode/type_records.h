// The numbers in the type records of a file, shared by the reader and the writer of types.
#ifndef ICODE_TYPE_RECORDS_H
#define ICODE_TYPE_RECORDS_H

#include <cstdint>

// Kinds of a record 116: K.
enum TYPE_RECORD : uint8_t {
    TR_ULONG = 9, // 0 to 9: the integer kinds (TYPE::IKIND) of that number
    TR_FLOAT = 10,
    TR_LDOUBLE = 12,
    TR_FIXED = 13,
    TR_TYPEDEF = 14,
    TR_POINTER = 15,
    TR_REFERENCE = 16,
    TR_QUALIFIED = 17,
    TR_ARRAY = 18,
    TR_PTM = 19,
    TR_FUNC = 20,
    TR_PARAM = 21,
    TR_ENUM = 22,
    TR_ETOR = 23,
    TR_CSU_SHORT = 24,
    TR_CSU_LONG = 25,
    TR_MEMBER = 28,
    TR_BASE_CLASS = 29,
    TR_ACCESS_DECL = 30,
    TR_FRIEND_FUNC = 31,
    TR_FRIEND_CLASS = 32,
    TR_NESTED_TYPE = 33,
    TR_STATIC_DATA = 34,
    TR_MEMBER_FUNC = 35,
    TR_COMPLEX = 36,
    TR_OTHER = 48, // what has no number of its own
    TR_VOID = 49,
    TR_LLONG = 50,
    TR_ULLONG = 51,
    TR_LIST = 254,
    TR_LIST_END = 255
};

enum LIST_KIND : int {
    LK_PARAMS, // of a function; of a class, struct or union: template parameters
    LK_ETORS,
    LK_BASE_CLASSES,
    LK_ACCESS_DECLS,
    LK_FRIEND_FUNCS,
    LK_FRIEND_CLASSES,
    LK_NESTED_TYPES,
    LK_MEMBERS,
    LK_STATIC_DATA,
    LK_MEMBER_FUNCS,
    LK_COUNT
};

#endif
