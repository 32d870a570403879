#include "KtXmlTestObjects.h"

#include <bit>
#include <cmath>
#include <memory>

KtTestEverything::KtTestEverything() : m_variety(testLeafFactory()) {}

void KtTestEverything::registerComponents() {
  const auto ct = [](const char* name) { return KtToken(ktNamespaceCt, name); };
  registerComponent(ct("real"), m_real);
  registerComponent(ct("single"), m_single);
  registerComponent(ct("flag"), m_flag);
  registerComponent(ct("count"), m_count);
  registerComponent(ct("small"), m_small);
  registerComponent(ct("name"), m_name);
  registerAttribute(KtToken("tag"), m_tag);
  registerComponent(ct("joint"), m_joint);
  registerComponent(ct("pair"), m_pair);
  registerComponent(ct("map"), m_map);
  registerComponent(ct("set"), m_set);
  registerComponent(ct("reals"), m_reals);
  registerComponent(ct("words"), m_words);
  registerComponent(ct("points"), m_points);
  registerComponent(ct("leaves"), m_leaves);
  registerComponent(ct("variety"), m_variety);
  registerComponent(ct("vector"), m_vector);
  registerComponent(ct("orientation"), m_orientation);
  registerComponent(ct("matrix"), m_matrix);
}

const KtXmlFactory& testLeafFactory() {
  static KtXmlFactory* factory = [] {
    auto* made = new KtXmlFactory;
    made->registerClass<KtTestLeaf>();
    made->registerClass<KtTestOtherLeaf>();
    return made;
  }();
  return *factory;
}

namespace {

// Text without blanks at either end (content is trimmed on reading) but with every
// character that needs escaping.
std::string randomText(TestRandom& rng) {
  const std::string alphabet = "ab <>&\"'#;xyz\t\n";
  std::string text = "t";
  for (int n = rng.integer(0, 12); n > 0; --n) text += alphabet[static_cast<std::size_t>(rng.integer(0, 14))];
  return text + "e";
}

double anyNumber(TestRandom& rng) {
  for (;;) {
    const double value = std::bit_cast<double>(rng.engine()());
    if (value == value) return value;  // NaN never equals itself, so it cannot round-trip as equal
  }
}

KtTestLeaf randomLeaf(TestRandom& rng) {
  KtTestLeaf leaf;
  leaf.m_value = rng.uniform(-10, 10);
  leaf.m_offset = Kt::Vector(rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1));
  return leaf;
}

}  // namespace

void fillRandomly(KtTestEverything& e, TestRandom& rng) {
  e.m_real = rng.uniform(-1e6, 1e6) * std::pow(10.0, rng.integer(-200, 200));
  e.m_single = static_cast<float>(rng.uniform(-1e3, 1e3));
  e.m_flag = rng.integer(0, 1) == 1;
  e.m_count = static_cast<long>(rng.engine()());
  e.m_small = static_cast<unsigned char>(rng.integer(0, 255));
  e.m_name = rng.integer(0, 3) == 0 ? std::string() : randomText(rng);
  e.m_tag = static_cast<KtU32>(rng.engine()());
  e.m_joint = rng.integer(0, 1) ? KtTestJoint::prismatic : KtTestJoint::rotational;
  e.m_pair.value() = {rng.integer(-100, 100), randomText(rng)};
  for (int n = rng.integer(0, 4); n > 0; --n) e.m_map[randomText(rng)] = rng.uniform(-1, 1);
  for (int n = rng.integer(0, 25); n > 0; --n) e.m_set.insert(rng.integer(-1000, 1000));
  for (int n = rng.integer(0, 35); n > 0; --n)
    e.m_reals.push_back(rng.integer(0, 1) ? anyNumber(rng) : rng.uniform(-1, 1));
  for (int n = rng.integer(0, 3); n > 0; --n) e.m_words.push_back(randomText(rng));
  for (int n = rng.integer(0, 3); n > 0; --n) e.m_points.push_back(Kt::Vector(rng.uniform(-1, 1), 0.5, -2));
  for (int n = rng.integer(0, 3); n > 0; --n) e.m_leaves.push_back(randomLeaf(rng));
  for (int n = rng.integer(0, 3); n > 0; --n) {
    if (rng.integer(0, 1)) {
      auto other = std::make_unique<KtTestOtherLeaf>();
      other->m_label = randomText(rng);
      e.m_variety.push_back(std::move(other));
    } else {
      e.m_variety.push_back(std::make_unique<KtTestLeaf>(randomLeaf(rng)));
    }
  }
  e.m_vector = Kt::Vector(rng.uniform(-5, 5), rng.uniform(-5, 5), rng.uniform(-5, 5));
  e.m_orientation =
      Kt::Orientation(rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1), rng.uniform(-1, 1));
  e.m_matrix.resizeArray(static_cast<std::size_t>(rng.integer(0, 7)),
                         static_cast<std::size_t>(rng.integer(0, 7)));
  for (std::size_t r = 0; r < e.m_matrix.rows(); ++r)
    for (KtReal& entry : e.m_matrix[r]) entry = rng.uniform(-1e3, 1e3);
}
