#pragma once

#include "runtime/Health.h"

#include <QIcon>

class QPainter;

namespace varnel {

/// The icon of a state, drawn for each size on whole pixels. The states differ in shape: a solid key cap with
/// a V, a hollow key cap with two bars, a triangle with an exclamation mark, a ring with a slash. The colours
/// are of medium brightness, so that the icon stands out from light and from dark panels.
QIcon stateIcon(HealthState state);

/// Draws it into a square of `size` pixels at the painter's origin.
void paintStateIcon(QPainter& painter, HealthState state, int size);

/// The size that a person must be able to tell the states apart at, and the largest that panels use.
inline constexpr int kIconSizes[] = {16, 20, 22, 24, 32, 48, 64};

} // namespace varnel
