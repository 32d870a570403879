#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

#include "support/PrintCapture.h"
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

// Reads a document from a string and gives whether it was read and all it printed on the way.
inline std::pair<bool, std::string> ktTestReadPrinting(KtXmlObject& object, const std::string& text,
                                                       const std::string& name = "test.xml") {
  PrintCapture capture;
  const bool read = ktTestRead(object, text, name);
  return {read, capture.text()};
}

// Writes the object, reads the text into `fresh` and writes that again: the two texts must agree
// byte for byte and the objects compare equal. Returns the text.
inline std::string ktTestWrittenTwice(const KtXmlObject& original, KtXmlObject& fresh) {
  const std::string once = ktTestWrite(original);
  EXPECT_TRUE(ktTestRead(fresh, once));
  EXPECT_TRUE(fresh.isEqual(original)) << once;
  EXPECT_EQ(ktTestWrite(fresh), once);
  return once;
}
