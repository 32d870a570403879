#pragma once

#include <memory>

#include "foundation/Export.h"
#include "foundation/Types.h"

// A shape description that a host may hand to the library (for example to add an object as a
// manipulator of its own). Shapes are values: copying one through clone() gives an independent
// copy of the concrete shape. Each shape is given in its own frame, centred at the origin.
// Distances between shapes are not computed yet; the descriptions are kept for when they are.
class KT_EXPORT KtShape {
 public:
  virtual ~KtShape();
  virtual std::unique_ptr<KtShape> clone() const = 0;
  // The shape's kind as a lower-case word ("sphere", "capsule", "box").
  virtual const char* kindName() const = 0;

 protected:
  KtShape() = default;
  KtShape(const KtShape&) = default;
  KtShape& operator=(const KtShape&) = default;
};

// A ball of the given radius about the origin.
class KT_EXPORT KtSphere : public KtShape {
 public:
  explicit KtSphere(KtReal radius = 1.0) : m_radius(radius) {}
  std::unique_ptr<KtShape> clone() const override;
  const char* kindName() const override;

  KtReal radius() const { return m_radius; }
  void setRadius(KtReal radius) { m_radius = radius; }

 private:
  KtReal m_radius;
};

// The points within `radius` of the segment of the given length along z, centred at the origin.
class KT_EXPORT KtCapsule : public KtShape {
 public:
  explicit KtCapsule(KtReal radius = 1.0, KtReal length = 1.0) : m_radius(radius), m_length(length) {}
  std::unique_ptr<KtShape> clone() const override;
  const char* kindName() const override;

  KtReal radius() const { return m_radius; }
  void setRadius(KtReal radius) { m_radius = radius; }
  KtReal length() const { return m_length; }
  void setLength(KtReal length) { m_length = length; }

 private:
  KtReal m_radius;
  KtReal m_length;
};

// An axis-aligned box about the origin with the given half extents along x, y and z.
class KT_EXPORT KtBox : public KtShape {
 public:
  explicit KtBox(KtReal halfX = 0.5, KtReal halfY = 0.5, KtReal halfZ = 0.5)
      : m_halfX(halfX), m_halfY(halfY), m_halfZ(halfZ) {}
  std::unique_ptr<KtShape> clone() const override;
  const char* kindName() const override;

  KtReal halfX() const { return m_halfX; }
  KtReal halfY() const { return m_halfY; }
  KtReal halfZ() const { return m_halfZ; }
  void setHalfExtents(KtReal halfX, KtReal halfY, KtReal halfZ) {
    m_halfX = halfX;
    m_halfY = halfY;
    m_halfZ = halfZ;
  }

 private:
  KtReal m_halfX;
  KtReal m_halfY;
  KtReal m_halfZ;
};
