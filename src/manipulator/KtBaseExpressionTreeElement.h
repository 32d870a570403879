#pragma once

#include "xml/KtXmlCompoundType.h"

// Base of the objects that can stand in an expression tree (link kinematics among them).
// It adds nothing yet; the control expressions build on it.
class KtBaseExpressionTreeElement : public KtXmlCompoundType {};
