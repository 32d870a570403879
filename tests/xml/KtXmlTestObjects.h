#pragma once

#include <string>

#include "foundation/Types.h"
#include "support/Random.h"
#include "xml/KtReArray.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlEnumType.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlMapType.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlOrientation.h"
#include "xml/KtXmlPairType.h"
#include "xml/KtXmlSetType.h"
#include "xml/KtXmlVariableVectorType.h"
#include "xml/KtXmlVector.h"
#include "xml/KtXmlVectorType.h"

// Persistent classes used by the XML tests, written the way toolkit classes are.

enum class KtTestJoint { rotational, prismatic };

template <>
struct KtXmlEnumWords<KtTestJoint> {
  static constexpr std::string_view name = "testJoint";
  static constexpr std::string_view words[] = {"rotational", "prismatic"};
};

// A small leaf: one number and one vector.
class KtTestLeaf : public KtXmlCloneable<KtTestLeaf, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceSm, "testLeaf");
    return token;
  }
  KtXmlBasicType<KtReal> m_value;
  KtXmlVector m_offset;

 protected:
  void registerComponents() override {
    registerComponent(KtToken(ktNamespaceSm, "value"), m_value);
    registerComponent(KtToken(ktNamespaceSm, "offset"), m_offset);
  }
};

// A leaf of another class, so that polymorphic vectors hold more than one class.
class KtTestOtherLeaf : public KtXmlCloneable<KtTestOtherLeaf, KtTestLeaf> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceSm, "testOtherLeaf");
    return token;
  }
  KtXmlBasicType<std::string> m_label;

 protected:
  void registerComponents() override {
    KtTestLeaf::registerComponents();
    registerComponent(KtToken(ktNamespaceSm, "label"), m_label);
  }
};

// A compound with one member of every wrapper.
class KtTestEverything : public KtXmlCloneable<KtTestEverything, KtXmlCompoundType> {
 public:
  KtTestEverything();
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceCt, "testEverything");
    return token;
  }

  KtXmlBasicType<KtReal> m_real;
  KtXmlBasicType<float> m_single;
  KtXmlBasicType<bool> m_flag;
  KtXmlBasicType<long> m_count;
  KtXmlBasicType<unsigned char> m_small;
  KtXmlBasicType<std::string> m_name;
  KtXmlBasicType<KtU32> m_tag;  // an attribute
  KtXmlEnumType<KtTestJoint> m_joint;
  KtXmlPairType<int, std::string> m_pair;
  KtXmlMapType<std::string, KtReal> m_map;
  KtXmlSetType<long> m_set;
  KtXmlVectorType<KtReal> m_reals;
  KtXmlVectorType<std::string> m_words;
  KtXmlVectorType<Kt::Vector> m_points;
  KtXmlVectorType<KtTestLeaf> m_leaves;
  KtXmlVariableVectorType<KtTestLeaf> m_variety;
  KtXmlVector m_vector;
  KtXmlOrientation m_orientation;
  KtReArray m_matrix;

 protected:
  void registerComponents() override;
};

// The factory holding the two leaf classes.
const KtXmlFactory& testLeafFactory();

// Gives every member of the object a random value (strings without blanks at either end,
// since content is trimmed on reading; numbers from every bit pattern but NaN's).
void fillRandomly(KtTestEverything& e, TestRandom& rng);

// An include element that stands for the document `href`.
inline std::string includeOf(const std::string& href) {
  return "<sm:KtInclude xmlns:sm=\"s\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" xlink:type=\"simple\" "
         "xlink:href=\"" +
         href + "\"/>";
}
