#include "KtXmlTestObjects.h"

#include <cmath>
#include <memory>

KtTestEverything::KtTestEverything() : m_variety(testLeafFactory()) {}

void KtTestEverything::registerComponents() {
  static const KtToken real(ktNamespaceCt, "real"), single(ktNamespaceCt, "single"),
      flag(ktNamespaceCt, "flag"), count(ktNamespaceCt, "count"), small(ktNamespaceCt, "small"),
      name(ktNamespaceCt, "name"), tag("tag"), joint(ktNamespaceCt, "joint"), pair(ktNamespaceCt, "pair"),
      map(ktNamespaceCt, "map"), set(ktNamespaceCt, "set"), reals(ktNamespaceCt, "reals"),
      words(ktNamespaceCt, "words"), points(ktNamespaceCt, "points"), leaves(ktNamespaceCt, "leaves"),
      variety(ktNamespaceCt, "variety"), vector(ktNamespaceCt, "vector"),
      orientation(ktNamespaceCt, "orientation");
  registerComponent(real, m_real);
  registerComponent(single, m_single);
  registerComponent(flag, m_flag);
  registerComponent(count, m_count);
  registerComponent(small, m_small);
  registerComponent(name, m_name);
  registerAttribute(tag, m_tag);
  registerComponent(joint, m_joint);
  registerComponent(pair, m_pair);
  registerComponent(map, m_map);
  registerComponent(set, m_set);
  registerComponent(reals, m_reals);
  registerComponent(words, m_words);
  registerComponent(points, m_points);
  registerComponent(leaves, m_leaves);
  registerComponent(variety, m_variety);
  registerComponent(vector, m_vector);
  registerComponent(orientation, m_orientation);
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
  for (int n = rng.integer(0, 35); n > 0; --n) e.m_reals.push_back(rng.uniform(-1, 1));
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
}
