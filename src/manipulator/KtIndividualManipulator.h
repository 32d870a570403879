#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "manipulator/KtIntegrationStatus.h"
#include "manipulator/KtManipulatorLink.h"
#include "manipulator/KtManipulatorReferenceDescription.h"
#include "manipulator/KtPositionState.h"
#include "manipulator/KtVelocityState.h"
#include "xml/KtXmlMapType.h"
#include "xml/KtXmlSetType.h"

// A manipulator: a tree of links on a base. The manipulator is its own base link (index -2),
// placed by its own transformation, which the base pose of a position state moves in the
// system: base joint frame = base pose ∘ placement, base primary frame = that ∘ the base
// kinematics' primary frame. Its links are numbered in depth-first pre-order from 0 (see
// KtManipulatorLink); the manipulator keeps a table of them in that order.
class KtIndividualManipulator : public KtXmlCloneable<KtIndividualManipulator, KtManipulatorLink> {
 public:
  KtIndividualManipulator();
  KtIndividualManipulator(const KtIndividualManipulator& other);
  ~KtIndividualManipulator() override;

  const KtToken& elementToken() const override;
  bool read(KtXmlReader& reader) override;

  // Number of joints, one per link.
  std::size_t jointDof() const { return m_links.size(); }
  const KtManipulatorLink& link(std::size_t index) const { return *m_links[index]; }
  // The value held inside the joint's limits; a value for an index past the joints is returned
  // as it is.
  KtReal heldInLimits(std::size_t joint, KtReal value) const;
  // The link for changing its kinematics or limits (its place in the tree stays).
  KtManipulatorLink& linkForModification(std::size_t index) { return *m_links[index]; }
  // The link (or the base) with that label, or null.
  const KtManipulatorLink* findLink(const std::string& label) const;
  // Index of the link with that label, -1 when there is none.
  int linkIndexOf(const std::string& label) const;

  const Kt::coordinateSystemTransformation& coordinateSystemTransform() const {
    return m_coordinateSystemTransform;
  }
  void setCoordinateSystemTransform(const Kt::coordinateSystemTransformation& placement);
  bool isFixedBase() const { return m_isFixedBase; }
  void setFixedBase(bool fixed) { m_isFixedBase = fixed; }
  bool isControllable() const { return m_isControllable; }
  void setControllable(bool controllable) { m_isControllable = controllable; }
  // The label of the manipulator of the system that this one refers to; empty for none.
  const std::string& manipulatorReference() const { return m_manipulatorReferenceDescription.label(); }
  void setManipulatorReference(const std::string& label) {
    m_manipulatorReferenceDescription.setLabel(label);
  }

  // Tree changes. A new link goes last among the children of the link with index
  // parentIndex (kBaseLinkIndex for the base); its index is returned (-1 for a bad parent).
  int addLink(int parentIndex, std::unique_ptr<KtManipulatorLink> link);
  // Replaces the link with that label, with its subtree, by a copy of the replacement and
  // its subtree.
  bool replaceLinkAndChildren(const std::string& label, const KtManipulatorLink& replacement);
  // Moves the link with that label, and with it its subtree, by t placed in front of its
  // joint motion (composed onto its precursor).
  bool transformLinkSubtreeBy(const std::string& label, const Kt::coordinateSystemTransformation& t);

  // Whether two links of this manipulator may be tested for collision with each other: not
  // a link with itself, nor a pair excluded by the self-collision map (either way round).
  bool canCollide(int first, int second) const;
  void excludeSelfCollision(const std::string& label, const std::string& otherLabel);

  // One explicit Euler step of the position state by the velocity state over dt; joints are
  // held at their limits (inclusive: landing exactly on a limit counts as reaching it).
  void integrateState(const KtVelocityState& velocities, KtReal dt, KtPositionState& positions,
                      KtIntegrationStatus& status) const;

  const Kt::coordinateSystemTransformation& dhFrameInSystem(KtManipulatorActiveState& state) const override;

 protected:
  void registerComponents() override;
  const KtLinkFrames& locate(KtManipulatorActivePositionState& positions) const override;

 private:
  // Renumbers the links and sets their parents after any change of the tree.
  void rebuildLinkTable();
  void addToTable(KtManipulatorLink& link, const KtManipulatorLink* parent);
  KtManipulatorLink* findMutableLink(const std::string& label);

  KtCoordinateSystemTransformation m_coordinateSystemTransform;
  KtXmlKeptElement m_absoluteBoundingSphere;
  KtXmlBasicType<bool> m_isFixedBase = true;
  KtXmlBasicType<bool> m_optimizeOnLoad = false;
  KtXmlBasicType<bool> m_isControllable = true;
  KtManipulatorReferenceDescription m_manipulatorReferenceDescription;
  KtXmlKeptElement m_generalBoundObjectVector;
  KtXmlKeptElement m_stateConstraintVector;
  KtXmlKeptElement m_surfaces;
  KtXmlMapType<std::string, KtXmlSetType<std::string>> m_manipSelfCollisionLinkMap;

  std::vector<KtManipulatorLink*> m_links;
};
