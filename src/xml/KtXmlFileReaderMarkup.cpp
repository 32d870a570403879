#include "xml/KtXmlFileReader.h"

// The parts of a document that the tokenizer passes over without interpreting them:
// comments, processing instructions and declarations.

bool KtXmlFileReader::skipComment() {
  advance(4);  // "<!--"
  for (;;) {
    const int c = peekChar();
    if (c < 0) {
      reportError("file not well formed.\n\tEOF found within comment.");
      return false;
    }
    if (c == '-' && peekChar(1) == '-') {
      if (peekChar(2) != '>') {
        reportError("file not well formed.\n\tComment contains extra -- in it.");
        return false;
      }
      advance(3);
      return true;
    }
    advance();
  }
}

bool KtXmlFileReader::skipProcessingInstruction() {
  advance(2);  // "<?"
  for (;;) {
    const int c = peekChar();
    if (c < 0) {
      reportError("file not well formed.\n\tPremature end of file.");
      return false;
    }
    if (c == '?' && peekChar(1) == '>') {
      advance(2);
      return true;
    }
    advance();
  }
}

// Skips a declaration such as the document type, internal subset included, without
// interpreting it.
bool KtXmlFileReader::skipDeclaration() {
  const int kind = peekChar(2);
  if (!((kind >= 'A' && kind <= 'Z') || (kind >= 'a' && kind <= 'z'))) {
    reportError("file not well formed.\n\tDeclaration not properly defined.");
    return false;
  }
  advance(2);
  int quote = 0;
  int brackets = 0;
  for (;;) {
    const int c = peekChar();
    if (c < 0) {
      reportError("file not well formed.\n\tPremature end of file.");
      return false;
    }
    advance();
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '[') {
      ++brackets;
    } else if (c == ']') {
      --brackets;
    } else if (c == '>' && brackets <= 0) {
      return true;
    }
  }
}
