// Several values that are expected together: EXPECT_EQ((values{a, b}), (values{1, 2})) shows all of them when one
// differs. They are evaluated in their order, and texts are compared as texts.
#pragma once

#include <ostream>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

template <typename... T> struct values : std::tuple<T...> {
    explicit values(T... all) : std::tuple<T...>(std::move(all)...) {}
    friend void PrintTo(const values& all, std::ostream* out) {
        *out << testing::PrintToString(static_cast<const std::tuple<T...>&>(all));
    }
};

template <typename T> struct value_kind { using type = T; };
template <> struct value_kind<const char*> { using type = std::string; };
template <> struct value_kind<char*> { using type = std::string; };
template <typename... T> values(T...) -> values<typename value_kind<T>::type...>;
