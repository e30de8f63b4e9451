// Arrays of the C interface with elements that the compiler works out. C++ can initialise an array of C by nothing but
// a list of its elements; so they are computed as a std::array, under a name of C that is not exported, and the
// exported array is an alias of it:
//
//     extern "C" { extern constexpr std::array kSquares = Squares(); }
//     extern pcm::CArray<kSquares> pcm___Squares __attribute__((alias("kSquares")));
//
// The second line declares again what the public header has declared, so the compiler compares type and length.
#pragma once

#include <array>
#include <type_traits>

namespace pcm {

template <const auto &kArray>
using CArray = const typename std::remove_cvref_t<decltype(kArray)>::value_type[kArray.size()];

} // namespace pcm
