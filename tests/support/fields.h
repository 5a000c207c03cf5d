#pragma once

#include <tuple>

#include <gtest/gtest.h>

/// Makes an aggregate comparable and printable, as "{error, stage} = (5, 14104)". Use it in the namespace of
/// the aggregate, and list all fields in the order of their declaration.
#define ZELSYS_FIELDS(Type, ...)                                                                             \
    inline auto fieldsOf(const Type& object) {                                                               \
        const auto& [__VA_ARGS__] = object;                                                                  \
        return std::make_tuple(__VA_ARGS__);                                                                 \
    }                                                                                                        \
    inline bool operator==(const Type& left, const Type& right) {                                            \
        return fieldsOf(left) == fieldsOf(right);                                                            \
    }                                                                                                        \
    inline void PrintTo(const Type& object, std::ostream* out) {                                             \
        *out << "{" #__VA_ARGS__ "} = " << testing::PrintToString(fieldsOf(object));                         \
    }
