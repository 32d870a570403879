#pragma once

// Marks the classes that the shared library exports. Everything else is compiled with
// hidden visibility, so the library's interface is exactly the set of marked classes.
#define KT_EXPORT __attribute__((visibility("default")))
