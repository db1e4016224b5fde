// Colour tools: the hue dialog behind Colourise, Colourise without it, and
// palette mapping from files and from the built-in palettes.
#include <cmath>
#include <cstring>

#include <QFile>

#include <QorvPictureBox/AutomationError.h>
#include <QorvPictureBox/QorvPicture.h>

#include "control/QorvPicturePrivate.h"
#include "control/VariantConversion.h"
#include "control/WorkingImage.h"
#include "platform/HueDialog.h"
#include "platform/PictureBox.h"
#include "processing/cImageProcessDIB.h"
#include "processing/cPalette.h"

namespace qorv {

namespace {

[[noreturn]] void invalidArgument() {
  raiseControlError(errors::InvalidProcedureCall, "Invalid procedure call or argument");
}

}  // namespace

void QorvPicture::Colourise() {
  operation::Working original(*this);
  if (original.image.IsEmpty()) return;
  PictureBox& buffer = d_->Buffer();
  const PicturePtr before = buffer.Picture();
  cDIBSection preview;
  if (!preview.Create(original.image.Width(), original.image.Height())) return;
  // The preview has an engine of its own: the host sees progress only for
  // the change it accepts, not for every slider step.
  cImageProcessDIB previewEngine;
  const DibView from = original.image.View();
  const DibView to = preview.View();
  const auto show = [&](const HueSettings& s) {
    for (std::int32_t y = 0; y < from.height; ++y) std::memcpy(to.row(y), from.row(y), static_cast<std::size_t>(from.rowBytes()));
    previewEngine.Colourise(preview, s.hue, s.saturation, s.lightness);
    // Only Buffer's image is drawn on; its picture stays the original.
    preview.PaintPicture(buffer.hDC(), 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
    d_->view.pictureRepainted();
    d_->view.render(true);
  };
  HueSettings settings;
  if (!hueDialogService().run(this, settings, show)) {
    // Assigning the picture again redraws Buffer's image from it, pixel for pixel.
    buffer.setPicture(before);
    d_->view.pictureRepainted();
    d_->view.render(false);
    return;
  }
  d_->mImageProcessDIB().Colourise(original.image, settings.hue, settings.saturation, settings.lightness);
  operation::commit(*this, original.image);
}

void QorvPicture::ColouriseWith(double Hue, double Saturation, double Lightness) {
  if (!std::isfinite(Hue) || !std::isfinite(Saturation) || !std::isfinite(Lightness)) invalidArgument();
  operation::Working w(*this);
  d_->mImageProcessDIB().Colourise(w.image, Hue, Saturation, Lightness);
  operation::commit(*this, w.image);
}

bool QorvPicture::LoadPalette(const QString& StrFile) { return ApplyPaletteFile(StrFile, false); }

bool QorvPicture::ApplyPaletteFile(const QString& StrFile, bool Dither) {
  ClearError();
  cPalette palette;
  if (!palette.LoadFromFile(QFile::encodeName(StrFile).toStdString())) {
    switch (palette.LastLoadStatus()) {
      case cPalette::LoadStatus::UnknownFormat:
        d_->setError(error_record::FormatNotSupported, QStringLiteral("Palette format not supported"),
                     error_record::FlagWarning);
        break;
      case cPalette::LoadStatus::Malformed:
        d_->setError(error_record::InvalidFileFormat, QStringLiteral("Invalid palette file!"),
                     error_record::FlagCritical);
        break;
      default:
        d_->setError(error_record::LoadFailed, QStringLiteral("Error loading palette. File missing or unreadable."),
                     error_record::FlagWarning);
        break;
    }
    return false;
  }
  operation::Working w(*this);
  if (w.image.IsEmpty()) {
    d_->setError(error_record::NothingToSave, QStringLiteral("There is no picture to apply the palette to"),
                 error_record::FlagWarning);
    return false;
  }
  d_->mImageProcessDIB().ApplyPalette(w.image, palette, Dither);
  operation::commit(*this, w.image);
  return true;
}

void QorvPicture::ApplyBuiltInPalette(qint32 Index, bool Dither) {
  if (Index < 0 || Index >= cPalette::BuiltInCount) invalidArgument();
  operation::Working w(*this);
  d_->mImageProcessDIB().ApplyPalette(w.image, cPalette::FromBuiltIn(Index), Dither);
  operation::commit(*this, w.image);
}

}  // namespace qorv
