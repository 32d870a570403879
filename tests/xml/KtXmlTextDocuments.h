#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "xml/KtXmlFile.h"

// Writes an object as a document into a string (failing the test if it is not written), and
// reads a document from a string.
inline std::string ktTestWrite(const KtXmlObject& object, const std::string& name = "test.xml") {
  std::ostringstream out;
  EXPECT_TRUE(ktWriteObjectToStream(object, out, name)) << name;
  return out.str();
}

inline bool ktTestRead(KtXmlObject& object, const std::string& text, const std::string& name = "test.xml") {
  std::istringstream in(text);
  return ktReadObjectFromStream(object, in, name);
}
