// The small dialogs of the viewer: a value, a kernel grid, a new size, the
// picture to combine with, and the preferences. Each returns nothing when the
// user cancels, so callers never act on a dismissed dialog.
#pragma once

#include <QSize>
#include <QString>

#include <functional>
#include <optional>

#include <QorvPictureBox/IntArray2D.h>

class QWidget;

namespace qorv_view {

std::optional<int> askValue(QWidget* parent, const QString& title, const QString& label, int value, int min,
                            int max);

struct KernelChoice {
  qorv::IntArray2D kernel;  // indexed -r..r in both directions
  int weight = 1;           // the divisor the control applies
};
// A grid of 3x3, 5x5 or 7x7 integer cells (starting as the identity) and a
// weight that follows the sum of the cells until the user sets it.
std::optional<KernelChoice> askKernel(QWidget* parent);

// A new size; with "keep aspect" ticked the other side follows the one typed.
std::optional<QSize> askSize(QWidget* parent, QSize current);

struct CombineChoice {
  QString path;
  int type = 1;  // ECombinationTypeConstants
  double multiplier1 = 0.5;
  double multiplier2 = 0.5;
  int offset1 = 0;
  int offset2 = 0;
};
// `browse` shows the control's own open dialog and returns the chosen path.
std::optional<CombineChoice> askCombine(QWidget* parent, const std::function<QString()>& browse);

struct Preferences {
  int undoBudgetMiB = 512;
  int jpegQuality = 90;
};
std::optional<Preferences> askPreferences(QWidget* parent, const Preferences& current, qint64 undoUsedBytes);

}  // namespace qorv_view
