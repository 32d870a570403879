#pragma once

#include <cstdint>
#include <string>

// Scalar names used throughout the toolkit.
using KtReal = double;
using KtU32 = std::uint32_t;
using KtString = std::string;
