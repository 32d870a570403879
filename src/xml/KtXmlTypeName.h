#pragma once

#include <string>
#include <typeinfo>

// The readable name of a class ("KtXmlVectorType<double>").
std::string ktXmlClassName(const std::type_info& type);

// A name derived from the class name that can serve as a schema type name: every character
// that may not stand in such a name is replaced by '_'.
std::string ktXmlTypeNameOf(const std::type_info& type);
