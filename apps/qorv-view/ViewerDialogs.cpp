#include "ViewerDialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace qorv_view {

namespace {

QDialogButtonBox* okCancel(QDialog& dlg) {
  auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dlg);
  QObject::connect(box, &QDialogButtonBox::accepted, &dlg, &QDialog::accept);
  QObject::connect(box, &QDialogButtonBox::rejected, &dlg, &QDialog::reject);
  return box;
}

}  // namespace

std::optional<int> askValue(QWidget* parent, const QString& title, const QString& label, int value, int min,
                            int max) {
  bool ok = false;
  const int v = QInputDialog::getInt(parent, title, label, value, min, max, 1, &ok);
  if (!ok) return std::nullopt;
  return v;
}

std::optional<KernelChoice> askKernel(QWidget* parent) {
  QDialog dlg(parent);
  dlg.setObjectName(QStringLiteral("kernelDialog"));
  dlg.setWindowTitle(QStringLiteral("Custom filter"));
  auto* size = new QComboBox(&dlg);
  size->addItems({QStringLiteral("3 x 3"), QStringLiteral("5 x 5"), QStringLiteral("7 x 7")});
  auto* grid = new QTableWidget(&dlg);
  grid->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  grid->verticalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  auto* weight = new QSpinBox(&dlg);
  weight->setRange(-32768, 32767);
  auto* autoWeight = new QCheckBox(QStringLiteral("Weight is the sum of the cells"), &dlg);
  autoWeight->setChecked(true);

  auto cellValue = [grid](int r, int c) {
    const QTableWidgetItem* it = grid->item(r, c);
    return it ? it->text().toInt() : 0;
  };
  auto sum = [grid, cellValue] {
    int s = 0;
    for (int r = 0; r < grid->rowCount(); ++r)
      for (int c = 0; c < grid->columnCount(); ++c) s += cellValue(r, c);
    return s;
  };
  auto follow = [&] {
    weight->setEnabled(!autoWeight->isChecked());
    // A kernel summing to 0 (edge detection) cannot be a divisor.
    if (autoWeight->isChecked()) weight->setValue(sum() == 0 ? 1 : sum());
  };
  auto resize = [&](int index) {
    const int n = 3 + 2 * index;
    grid->blockSignals(true);
    grid->setRowCount(n);
    grid->setColumnCount(n);
    for (int r = 0; r < n; ++r)
      for (int c = 0; c < n; ++c) grid->setItem(r, c, new QTableWidgetItem(r == n / 2 && c == n / 2 ? "1" : "0"));
    grid->blockSignals(false);
    follow();
  };
  QObject::connect(size, &QComboBox::currentIndexChanged, &dlg, resize);
  QObject::connect(grid, &QTableWidget::itemChanged, &dlg, [&](QTableWidgetItem* it) {
    bool ok = false;
    const int v = it->text().toInt(&ok);
    if (!ok || v < -32768 || v > 32767) it->setText(QStringLiteral("0"));
    follow();
  });
  QObject::connect(autoWeight, &QCheckBox::toggled, &dlg, follow);
  resize(0);

  auto* form = new QFormLayout;
  form->addRow(QStringLiteral("Size"), size);
  auto* weightRow = new QHBoxLayout;
  weightRow->addWidget(weight);
  weightRow->addWidget(autoWeight);
  form->addRow(QStringLiteral("Weight"), weightRow);
  auto* layout = new QVBoxLayout(&dlg);
  layout->addLayout(form);
  layout->addWidget(grid);
  layout->addWidget(okCancel(dlg));
  dlg.resize(360, 340);
  if (dlg.exec() != QDialog::Accepted) return std::nullopt;

  const int n = grid->rowCount();
  const int r = n / 2;
  KernelChoice choice{qorv::IntArray2D::centred(r), weight->value()};
  for (int i = -r; i <= r; ++i)
    for (int j = -r; j <= r; ++j) choice.kernel(i, j) = static_cast<std::int16_t>(cellValue(i + r, j + r));
  return choice;
}

std::optional<QSize> askSize(QWidget* parent, QSize current) {
  QDialog dlg(parent);
  dlg.setObjectName(QStringLiteral("sizeDialog"));
  dlg.setWindowTitle(QStringLiteral("Resample"));
  auto* w = new QSpinBox(&dlg);
  auto* h = new QSpinBox(&dlg);
  w->setObjectName(QStringLiteral("width"));
  h->setObjectName(QStringLiteral("height"));
  for (QSpinBox* s : {w, h}) {
    s->setRange(1, 65535);
    s->setSuffix(QStringLiteral(" px"));
  }
  w->setValue(current.width());
  h->setValue(current.height());
  auto* keep = new QCheckBox(QStringLiteral("Keep aspect ratio"), &dlg);
  keep->setObjectName(QStringLiteral("keepAspect"));
  keep->setChecked(true);
  const double aspect = current.height() > 0 ? double(current.width()) / current.height() : 1.0;
  bool syncing = false;
  auto sync = [&](QSpinBox* from, QSpinBox* to, double factor) {
    if (syncing || !keep->isChecked()) return;
    syncing = true;
    to->setValue(std::max(1, static_cast<int>(std::lround(from->value() * factor))));
    syncing = false;
  };
  QObject::connect(w, &QSpinBox::valueChanged, &dlg, [&] { sync(w, h, 1.0 / aspect); });
  QObject::connect(h, &QSpinBox::valueChanged, &dlg, [&] { sync(h, w, aspect); });
  auto* form = new QFormLayout(&dlg);
  form->addRow(QStringLiteral("Width"), w);
  form->addRow(QStringLiteral("Height"), h);
  form->addRow(keep);
  form->addRow(okCancel(dlg));
  if (dlg.exec() != QDialog::Accepted) return std::nullopt;
  return QSize(w->value(), h->value());
}

std::optional<CombineChoice> askCombine(QWidget* parent, const std::function<QString()>& browse) {
  QDialog dlg(parent);
  dlg.setObjectName(QStringLiteral("combineDialog"));
  dlg.setWindowTitle(QStringLiteral("Combine with picture"));
  auto* path = new QLineEdit(&dlg);
  auto* browseButton = new QPushButton(QStringLiteral("Browse..."), &dlg);
  QObject::connect(browseButton, &QPushButton::clicked, &dlg, [&] {
    const QString chosen = browse();
    if (!chosen.isEmpty()) path->setText(chosen);
  });
  auto* type = new QComboBox(&dlg);
  type->addItem(QStringLiteral("Add (weighted)"), 1);
  type->addItem(QStringLiteral("Lightest"), 2);
  type->addItem(QStringLiteral("Darkest"), 3);
  auto makeMul = [&dlg] {
    auto* s = new QDoubleSpinBox(&dlg);
    s->setRange(-10, 10);
    s->setSingleStep(0.1);
    s->setValue(0.5);
    return s;
  };
  auto makeOff = [&dlg] {
    auto* s = new QSpinBox(&dlg);
    s->setRange(-255, 255);
    return s;
  };
  QDoubleSpinBox* m1 = makeMul();
  QDoubleSpinBox* m2 = makeMul();
  QSpinBox* o1 = makeOff();
  QSpinBox* o2 = makeOff();
  auto enableWeights = [&] {
    const bool add = type->currentData().toInt() == 1;
    for (QWidget* wdg : {static_cast<QWidget*>(m1), static_cast<QWidget*>(m2), static_cast<QWidget*>(o1),
                         static_cast<QWidget*>(o2)})
      wdg->setEnabled(add);
  };
  QObject::connect(type, &QComboBox::currentIndexChanged, &dlg, enableWeights);
  auto* pathRow = new QHBoxLayout;
  pathRow->addWidget(path);
  pathRow->addWidget(browseButton);
  auto* form = new QFormLayout(&dlg);
  form->addRow(QStringLiteral("Other picture"), pathRow);
  form->addRow(QStringLiteral("Combination"), type);
  form->addRow(QStringLiteral("This picture: multiplier"), m1);
  form->addRow(QStringLiteral("This picture: offset"), o1);
  form->addRow(QStringLiteral("Other picture: multiplier"), m2);
  form->addRow(QStringLiteral("Other picture: offset"), o2);
  auto* buttons = okCancel(dlg);
  QPushButton* ok = buttons->button(QDialogButtonBox::Ok);
  ok->setEnabled(false);
  QObject::connect(path, &QLineEdit::textChanged, &dlg, [ok](const QString& t) { ok->setEnabled(!t.isEmpty()); });
  form->addRow(buttons);
  if (dlg.exec() != QDialog::Accepted) return std::nullopt;
  return CombineChoice{path->text(), type->currentData().toInt(), m1->value(), m2->value(), o1->value(),
                       o2->value()};
}

std::optional<Preferences> askPreferences(QWidget* parent, const Preferences& current, qint64 undoUsedBytes) {
  QDialog dlg(parent);
  dlg.setObjectName(QStringLiteral("preferencesDialog"));
  dlg.setWindowTitle(QStringLiteral("Preferences"));
  auto* budget = new QSpinBox(&dlg);
  budget->setObjectName(QStringLiteral("undoBudget"));
  budget->setRange(0, 65536);
  budget->setSuffix(QStringLiteral(" MiB"));
  budget->setValue(current.undoBudgetMiB);
  auto* used = new QLabel(QStringLiteral("%1 MiB in use").arg(double(undoUsedBytes) / (1024.0 * 1024.0), 0, 'f', 1),
                          &dlg);
  auto* quality = new QSpinBox(&dlg);
  quality->setObjectName(QStringLiteral("jpegQuality"));
  quality->setRange(1, 100);
  quality->setValue(current.jpegQuality);
  auto* form = new QFormLayout(&dlg);
  form->addRow(QStringLiteral("Memory for undo"), budget);
  form->addRow(QString(), used);
  form->addRow(QStringLiteral("JPEG quality when saving"), quality);
  form->addRow(okCancel(dlg));
  if (dlg.exec() != QDialog::Accepted) return std::nullopt;
  return Preferences{budget->value(), quality->value()};
}

}  // namespace qorv_view
