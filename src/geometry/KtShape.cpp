#include "geometry/KtShape.h"

KtShape::~KtShape() = default;

std::unique_ptr<KtShape> KtSphere::clone() const { return std::make_unique<KtSphere>(*this); }
const char* KtSphere::kindName() const { return "sphere"; }

std::unique_ptr<KtShape> KtCapsule::clone() const { return std::make_unique<KtCapsule>(*this); }
const char* KtCapsule::kindName() const { return "capsule"; }

std::unique_ptr<KtShape> KtBox::clone() const { return std::make_unique<KtBox>(*this); }
const char* KtBox::kindName() const { return "box"; }
