#include "platform/HueDialog.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QSlider>
#include <QSpinBox>

namespace qorv {

namespace {

class QtHueDialog final : public HueDialogService {
 public:
  bool run(QWidget* owner, HueSettings& settings, const std::function<void(const HueSettings&)>& preview) override {
    QDialog dialog(owner);
    dialog.setWindowTitle(QStringLiteral("Colourise"));
    auto* grid = new QGridLayout(&dialog);
    HueSettings shown = settings;
    struct Row {
      const char* label;
      int lo, hi;
      int HueSettings::*field;
    };
    const Row rows[] = {{"Hue", 0, 359, &HueSettings::hue},
                        {"Saturation", 0, 100, &HueSettings::saturation},
                        {"Lightness", -100, 100, &HueSettings::lightness}};
    int line = 0;
    for (const Row& r : rows) {
      auto* slider = new QSlider(Qt::Horizontal, &dialog);
      auto* spin = new QSpinBox(&dialog);
      slider->setRange(r.lo, r.hi);
      spin->setRange(r.lo, r.hi);
      slider->setValue(shown.*r.field);
      spin->setValue(shown.*r.field);
      slider->setMinimumWidth(240);
      grid->addWidget(new QLabel(QString::fromLatin1(r.label), &dialog), line, 0);
      grid->addWidget(slider, line, 1);
      grid->addWidget(spin, line, 2);
      QObject::connect(slider, &QSlider::valueChanged, spin, &QSpinBox::setValue);
      QObject::connect(spin, &QSpinBox::valueChanged, slider, &QSlider::setValue);
      // Slider and spin box echo each other; only a real change previews.
      QObject::connect(spin, &QSpinBox::valueChanged, &dialog, [&shown, &preview, field = r.field](int v) {
        if (shown.*field == v) return;
        shown.*field = v;
        if (preview) preview(shown);
      });
      ++line;
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    grid->addWidget(buttons, line, 0, 1, 3);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    if (preview) preview(shown);
    if (dialog.exec() != QDialog::Accepted) return false;
    settings = shown;
    return true;
  }
};

QtHueDialog& defaultService() {
  static QtHueDialog s;
  return s;
}

HueDialogService* installed = nullptr;

}  // namespace

HueDialogService& hueDialogService() { return installed ? *installed : defaultService(); }

void setHueDialogService(HueDialogService* s) { installed = s; }

}  // namespace qorv
