// QorvPicture: the embeddable picture viewer/editor control.
//
// Every member of the automation surface is a C++ member under its published
// name (properties read with `Name()` and written with `setName(v)`), a Qt
// meta-object member under the same name (Q_PROPERTY / Q_INVOKABLE), and an
// entry of the member table behind invoke(), which gives its dispatch id.
//
// Optional arguments: C++ default values where the type has a natural default,
// an invalid QVariant (= missing) for Variant arguments. Arguments passed by
// reference have a pointer overload so that C++ callers see what the control
// writes back; the value overloads (the Q_INVOKABLE ones) forward to them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QWidget>

#include <QorvPictureBox/DataObject.h>
#include <QorvPictureBox/IntArray2D.h>
#include <QorvPictureBox/QorvEnums.h>
#include <QorvPictureBox/Font.h>
#include <QorvPictureBox/Picture.h>

namespace qorv {

class QorvPicturePrivate;
class PropertyBag;

class QorvPicture : public QWidget {
  Q_OBJECT

  // Properties, in interface order.
  Q_PROPERTY(qint32 JPEG_LOAD_QUALITY READ JPEG_LOAD_QUALITY WRITE setJPEG_LOAD_QUALITY)
  Q_PROPERTY(qint32 BackColor READ BackColor WRITE setBackColor)
  Q_PROPERTY(qint32 ForeColor READ ForeColor WRITE setForeColor)
  Q_PROPERTY(bool Enabled READ Enabled WRITE setEnabled)
  Q_PROPERTY(qorv::FontPtr Font READ Font WRITE setFont)
  Q_PROPERTY(qint32 BorderStyle READ BorderStyle WRITE setBorderStyle)
  Q_PROPERTY(bool KeepAspect READ KeepAspect WRITE setKeepAspect)
  Q_PROPERTY(bool AutoSize READ AutoSize WRITE setAutoSize)
  Q_PROPERTY(bool KeyboardScale READ KeyboardScale WRITE setKeyboardScale)
  Q_PROPERTY(qint16 Zoom READ Zoom WRITE setZoom)
  Q_PROPERTY(double PictureW READ PictureW)
  Q_PROPERTY(double PictureH READ PictureH)
  Q_PROPERTY(qorv::PicturePtr Picture READ Picture WRITE setPicture)
  Q_PROPERTY(bool Centered READ Centered WRITE setCentered)
  Q_PROPERTY(bool Stretch READ Stretch WRITE setStretch)
  Q_PROPERTY(bool UseBltAIP READ UseBltAIP WRITE setUseBltAIP)
  Q_PROPERTY(qint16 KeyboardZoomFactor READ KeyboardZoomFactor WRITE setKeyboardZoomFactor)
  Q_PROPERTY(qint16 KeyboarZoomMin READ KeyboarZoomMin WRITE setKeyboarZoomMin)
  Q_PROPERTY(qint16 KeyboardZoomMax READ KeyboardZoomMax WRITE setKeyboardZoomMax)
  Q_PROPERTY(qint32 PictureWidth READ PictureWidth)
  Q_PROPERTY(qint32 PictureHeight READ PictureHeight)
  Q_PROPERTY(qorv::PicturePtr ScaledPicture READ ScaledPicture)
  Q_PROPERTY(qint32 OffsetX READ OffsetX WRITE setOffsetX)
  Q_PROPERTY(qint32 OffsetY READ OffsetY WRITE setOffsetY)
  Q_PROPERTY(bool ZoomFromOriginal READ ZoomFromOriginal WRITE setZoomFromOriginal)
  Q_PROPERTY(qint32 OrgPictureWidth READ OrgPictureWidth)
  Q_PROPERTY(qint32 OrgPictureHeight READ OrgPictureHeight)
  Q_PROPERTY(qint32 RenderScaleWidth READ RenderScaleWidth)
  Q_PROPERTY(qint32 RenderScaleHeight READ RenderScaleHeight)
  Q_PROPERTY(qorv::PicturePtr MoveIcon READ MoveIcon WRITE setMoveIcon)
  Q_PROPERTY(qint32 DrawMode READ DrawMode WRITE setDrawMode)
  Q_PROPERTY(qint32 DrawStyle READ DrawStyle WRITE setDrawStyle)
  Q_PROPERTY(qint16 DrawWidth READ DrawWidth WRITE setDrawWidth)
  Q_PROPERTY(qint32 hdc READ hdc)
  Q_PROPERTY(qint32 hWnd READ hWnd)
  Q_PROPERTY(qorv::PicturePtr Image READ Image)
  Q_PROPERTY(qint32 OLEDragMode READ OLEDragMode WRITE setOLEDragMode)
  Q_PROPERTY(qint32 OLEDropMode READ OLEDropMode WRITE setOLEDropMode)
  Q_PROPERTY(QString ToolTipText READ ToolTipText WRITE setToolTipText)
  Q_PROPERTY(float CurrentX READ CurrentX WRITE setCurrentX)
  Q_PROPERTY(float CurrentY READ CurrentY WRITE setCurrentY)
  Q_PROPERTY(bool LockUpdate READ LockUpdate WRITE setLockUpdate)
  Q_PROPERTY(qint32 LastErrorCode READ LastErrorCode)
  Q_PROPERTY(QString LastErrorDescription READ LastErrorDescription)
  Q_PROPERTY(qint32 LastErrorFlag READ LastErrorFlag)
  Q_PROPERTY(bool AutoSwitchToAPI READ AutoSwitchToAPI WRITE setAutoSwitchToAPI)
  Q_PROPERTY(QString CurrentFile READ CurrentFile)
  Q_PROPERTY(bool FastLoad READ FastLoad WRITE setFastLoad)
  Q_PROPERTY(bool MouseZoom READ MouseZoom WRITE setMouseZoom)
  Q_PROPERTY(bool IgnoreOffsetBorder READ IgnoreOffsetBorder WRITE setIgnoreOffsetBorder)
  Q_PROPERTY(bool Tiled READ Tiled WRITE setTiled)
  Q_PROPERTY(qint32 ZoomType READ ZoomType WRITE setZoomType)
  Q_PROPERTY(bool AutoRedraw READ AutoRedraw WRITE setAutoRedraw)
  Q_PROPERTY(bool VisualZoom READ VisualZoom WRITE setVisualZoom)
  Q_PROPERTY(qorv::FontPtr OSDFont READ OSDFont WRITE setOSDFont)
  Q_PROPERTY(qint32 OSDBackColor READ OSDBackColor WRITE setOSDBackColor)
  Q_PROPERTY(qint32 OSDForeColor READ OSDForeColor WRITE setOSDForeColor)
  Q_PROPERTY(bool ShowOffsetOSD READ ShowOffsetOSD WRITE setShowOffsetOSD)
  Q_PROPERTY(bool ZoomOSD READ ZoomOSD WRITE setZoomOSD)
  Q_PROPERTY(bool OSDTransparent READ OSDTransparent WRITE setOSDTransparent)
  Q_PROPERTY(bool OSDShaddow READ OSDShaddow WRITE setOSDShaddow)
  Q_PROPERTY(qint32 OSDShaddowColor READ OSDShaddowColor WRITE setOSDShaddowColor)
  Q_PROPERTY(qint16 OSDShaddowSize READ OSDShaddowSize WRITE setOSDShaddowSize)
  Q_PROPERTY(qint32 HQInitialDelay READ HQInitialDelay WRITE setHQInitialDelay)
  Q_PROPERTY(bool HQAutoSwitch READ HQAutoSwitch WRITE setHQAutoSwitch)
  Q_PROPERTY(bool NoLoadingHourGlass READ NoLoadingHourGlass WRITE setNoLoadingHourGlass)
  Q_PROPERTY(qint16 MousePointer READ MousePointer WRITE setMousePointer)
  Q_PROPERTY(qorv::PicturePtr MouseIcon READ MouseIcon WRITE setMouseIcon)
  Q_PROPERTY(qint32 FillStyle READ FillStyle WRITE setFillStyle)
  Q_PROPERTY(qint32 FillColor READ FillColor WRITE setFillColor)
  Q_PROPERTY(bool IsZooming READ IsZooming)
  // Members beyond the classic surface, after it.
  Q_PROPERTY(qint32 SourceBitsPerPixel READ SourceBitsPerPixel)
  Q_PROPERTY(bool WheelZoom READ WheelZoom WRITE setWheelZoom)
  Q_PROPERTY(bool KeepViewOnPictureChange READ KeepViewOnPictureChange WRITE setKeepViewOnPictureChange)
  Q_PROPERTY(bool DevicePixels READ DevicePixels WRITE setDevicePixels)
  Q_PROPERTY(bool IsolatedDecoding READ IsolatedDecoding WRITE setIsolatedDecoding)
  Q_PROPERTY(qint32 LoadTimeout READ LoadTimeout WRITE setLoadTimeout)
  Q_PROPERTY(bool AllowUnlistedFormats READ AllowUnlistedFormats WRITE setAllowUnlistedFormats)
  Q_PROPERTY(bool AutoRotate READ AutoRotate WRITE setAutoRotate)
  Q_PROPERTY(bool SyncOnSave READ SyncOnSave WRITE setSyncOnSave)
  Q_PROPERTY(bool ShowTransparency READ ShowTransparency WRITE setShowTransparency)
  // The Qt surface, after the classic members (see below).
  Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor NOTIFY backgroundColorChanged)
  Q_PROPERTY(QColor foregroundColor READ foregroundColor WRITE setForegroundColor NOTIFY foregroundColorChanged)
  Q_PROPERTY(QColor shapeFillColor READ shapeFillColor WRITE setShapeFillColor NOTIFY shapeFillColorChanged)
  Q_PROPERTY(QColor osdBackgroundColor READ osdBackgroundColor WRITE setOsdBackgroundColor
                 NOTIFY osdBackgroundColorChanged)
  Q_PROPERTY(QColor osdForegroundColor READ osdForegroundColor WRITE setOsdForegroundColor
                 NOTIFY osdForegroundColorChanged)
  Q_PROPERTY(QColor osdShadowColor READ osdShadowColor WRITE setOsdShadowColor NOTIFY osdShadowColorChanged)
  Q_PROPERTY(int zoomPercent READ zoomPercent WRITE setZoomPercent NOTIFY zoomChanged)
  Q_PROPERTY(QPoint offset READ offset WRITE setOffset NOTIFY offsetChanged)
  Q_PROPERTY(QImage image READ image WRITE setImage NOTIFY pictureChanged)
  Q_PROPERTY(bool busy READ isBusy NOTIFY busyChanged)

 public:
  // Invocation kinds of invoke(), as automation numbers them; a member entry
  // may accept several (a property is Get|Let).
  enum InvokeKind { Method = 1, PropertyGet = 2, PropertyLet = 4, PropertySet = 8 };

  // Receives every event (id, arguments) before the Qt signal is emitted; a
  // handler may change the by-reference arguments in place.
  using EventHook = std::function<void(int eventId, QVariantList& args)>;

  // Constructing runs Initialize then InitProperties; destruction runs Terminate.
  explicit QorvPicture(QWidget* parent = nullptr);
  ~QorvPicture() override;
  QorvPicture(const QorvPicture&) = delete;
  QorvPicture& operator=(const QorvPicture&) = delete;

  // ===== Automation surface, in interface order ===============================

  qint32 JPEG_LOAD_QUALITY() const;
  void setJPEG_LOAD_QUALITY(qint32 v);
  qint32 BackColor() const;
  void setBackColor(qint32 v);
  qint32 ForeColor() const;
  void setForeColor(qint32 v);
  bool Enabled() const;
  void setEnabled(bool v);  // hides QWidget::setEnabled so that the change is reported
  FontPtr Font() const;
  void setFont(const FontPtr& v);
  qint32 BorderStyle() const;
  void setBorderStyle(qint32 v);
  Q_INVOKABLE void Refresh(bool Initial = false);
  bool KeepAspect() const;
  void setKeepAspect(bool v);
  bool AutoSize() const;
  void setAutoSize(bool v);
  bool KeyboardScale() const;
  void setKeyboardScale(bool v);
  qint16 Zoom() const;
  void setZoom(qint16 v);
  double PictureW() const;
  double PictureH() const;
  PicturePtr Picture() const;
  void setPicture(const PicturePtr& v);
  bool Centered() const;
  void setCentered(bool v);
  bool Stretch() const;
  void setStretch(bool v);
  bool UseBltAIP() const;
  void setUseBltAIP(bool v);
  qint16 KeyboardZoomFactor() const;
  void setKeyboardZoomFactor(qint16 v);
  qint16 KeyboarZoomMin() const;
  void setKeyboarZoomMin(qint16 v);
  qint16 KeyboardZoomMax() const;
  void setKeyboardZoomMax(qint16 v);
  qint32 PictureWidth() const;
  qint32 PictureHeight() const;
  PicturePtr ScaledPicture();
  qint32 OffsetX() const;
  void setOffsetX(qint32 NewOffset);
  qint32 OffsetY() const;
  void setOffsetY(qint32 NewOffset);
  bool ZoomFromOriginal() const;
  void setZoomFromOriginal(bool v);
  qint32 OrgPictureWidth() const;
  qint32 OrgPictureHeight() const;
  Q_INVOKABLE bool SendToClipboard(qint32 PictureType);
  Q_INVOKABLE void DrawLine(qint32 X1, qint32 Y1, qint32 X2, qint32 Y2, qint32 COLOR = 0);
  Q_INVOKABLE void DrawDot(qint32 X1, qint32 Y1, qint32 COLOR = 0);
  Q_INVOKABLE void DrawBox(qint32 X1, qint32 Y1, qint32 X2, qint32 Y2, qint32 COLOR = 0, qint32 Style = 0);
  Q_INVOKABLE void DrawCircle(float x, float y, float Radius, qint32 COLOR = 0);
  qint32 RenderScaleWidth() const;
  qint32 RenderScaleHeight() const;
  Q_INVOKABLE qint32 RenderTextWidth(const QString& strText) const;
  Q_INVOKABLE qint32 RenderTextHeight(const QString& strText) const;
  PicturePtr MoveIcon() const;
  void setMoveIcon(const PicturePtr& v);
  qint32 DrawMode() const;
  void setDrawMode(qint32 v);
  qint32 DrawStyle() const;
  void setDrawStyle(qint32 v);
  qint16 DrawWidth() const;
  void setDrawWidth(qint16 v);
  qint32 hdc() const;
  qint32 hWnd() const;
  PicturePtr Image() const;
  qint32 OLEDragMode() const;
  void setOLEDragMode(qint32 v);
  qint32 OLEDropMode() const;
  void setOLEDropMode(qint32 v);
  Q_INVOKABLE void PaintPicture(const qorv::PicturePtr& Picture, float X1, float Y1,
                                const QVariant& Width1 = QVariant(), const QVariant& Height1 = QVariant(),
                                const QVariant& X2 = QVariant(), const QVariant& Y2 = QVariant(),
                                const QVariant& Width2 = QVariant(), const QVariant& Height2 = QVariant(),
                                const QVariant& Opcode = QVariant());
  QString ToolTipText() const;
  void setToolTipText(const QString& v);
  Q_INVOKABLE void PrintText(const QString& strText);
  float CurrentX() const;
  void setCurrentX(float v);
  float CurrentY() const;
  void setCurrentY(float v);
  Q_INVOKABLE void Cls();
  bool LockUpdate() const;
  void setLockUpdate(bool v);

  // Loading and saving return True on success; failures fill the error record.
  bool LoadFreeImage(QString* StrFilePath, qint32 ForceType = -1, QString* InitDir = nullptr,
                     bool DoNotRender = false);
  Q_INVOKABLE bool LoadFreeImage(QString StrFilePath = QString(), qint32 ForceType = -1,
                                 QString InitDir = QString(), bool DoNotRender = false);
  bool LoadVBPicture(QString* StrFilePath, QString* InitDir = nullptr, bool DoNotRender = false);
  Q_INVOKABLE bool LoadVBPicture(QString StrFilePath = QString(), QString InitDir = QString(),
                                 bool DoNotRender = false);
  bool SaveFreeImage(QString* StrFilePath, qint32 Quality = 0, qint32 FIFType = -1, bool UseNewFilename = false);
  Q_INVOKABLE bool SaveFreeImage(QString StrFilePath = QString(), qint32 Quality = 0, qint32 FIFType = -1,
                                 bool UseNewFilename = false);
  Q_INVOKABLE qint32 FreeImageFormatCount();
  Q_INVOKABLE QString FreeImageFormat(qint32 Index);
  Q_INVOKABLE QString FreeImageFormatDescription(qint32 Index);
  Q_INVOKABLE qint32 FreeImageFormatExtensionsCount(qint32 FormatIndex);
  Q_INVOKABLE QString FreeImageFormatExtension(qint32 FormatIndex, qint32 ExtensionIndex);
  qint32 FreeImageGetFormatExtensionIndex(qint32 FormatIndex, QString* Extension);
  Q_INVOKABLE qint32 FreeImageGetFormatExtensionIndex(qint32 FormatIndex, QString Extension);
  Q_INVOKABLE bool FreeImageFormatCanSave(qint32 Index);
  Q_INVOKABLE bool FreeImageCanSetQualitySave(qint32 Index);
  Q_INVOKABLE bool FreeImageFormatCanLoad(qint32 Index);
  QString FreeImageSavePattern(qint32* FindFilterIndex, const QString& FileExt = QString());
  Q_INVOKABLE QString FreeImageSavePattern(qint32 FindFilterIndex = 0, QString FileExt = QString());
  Q_INVOKABLE QString FreeImageSavePatternExt();
  Q_INVOKABLE QString FreeImageGetSaveExt(qint32 FilterIndex);
  Q_INVOKABLE qint32 GetLoadFilterIndex(const QString& StrExtension);
  Q_INVOKABLE qint32 GetSaveFilterIndex(const QString& StrExtension);
  Q_INVOKABLE qint32 FreeImageGetFormatIndex(const QString& StrExtension);
  Q_INVOKABLE QString FreeImageLoadPattern();
  Q_INVOKABLE QString FreeImageLoadPatternExt();
  Q_INVOKABLE void Invert();
  Q_INVOKABLE void Flip(qint32 Orientation);
  qint32 LastErrorCode() const;
  QString LastErrorDescription() const;
  qint32 LastErrorFlag() const;
  // Pattern and DialogTitle are rewritten in the caller; FilterIndex is in/out.
  QString Dialog(QString* Pattern, qint32 hwndOwner, const QString& initialDir, QString* DialogTitle,
                 qint32 dialogFlags = 0, bool SaveDialog = false, QVariant* FilterIndex = nullptr,
                 const QString& FileName = QString());
  Q_INVOKABLE QString Dialog(QString Pattern, qint32 hwndOwner, QString initialDir, QString DialogTitle,
                             qint32 dialogFlags = 0, bool SaveDialog = false, QVariant FilterIndex = QVariant(),
                             QString FileName = QString());
  bool AutoSwitchToAPI() const;
  void setAutoSwitchToAPI(bool v);
  QString CurrentFile() const;
  Q_INVOKABLE QString FileExtension(const QString& StrFile, bool IncludeDOT = false);
  Q_INVOKABLE qint32 GetFIFFormatFromExtension(const QString& StrExtension);
  Q_INVOKABLE QString FileName(const QString& StrFilePath);
  Q_INVOKABLE QString RemoveFileExtension(const QString& StrFilename);
  bool FastLoad() const;
  void setFastLoad(bool v);
  bool MouseZoom() const;
  void setMouseZoom(bool v);
  Q_INVOKABLE void Offset(qint32 NewXOffset, qint32 NewYOffset);
  bool IgnoreOffsetBorder() const;
  void setIgnoreOffsetBorder(bool v);
  Q_INVOKABLE void ApplyFilter(qint32 FilterType, qint32 FilterWeight = 0);
  Q_INVOKABLE void Darken(const QVariant& Amount = QVariant());
  Q_INVOKABLE void Lighten(const QVariant& Amount = QVariant());
  Q_INVOKABLE void Grayscale();
  Q_INVOKABLE void AddNoise(qint32 Percent = 0, bool bRandom = false);
  Q_INVOKABLE void BlackAndWhite();
  Q_INVOKABLE void Resample(qint32 lW, qint32 lH);
  // Opens the modal hue dialog (hue 0-359, saturation 0-100 %, lightness
  // shift -100..100 %) over the control and previews the result on it while
  // the sliders move (fast redraw, no progress events); OK applies it as
  // ColouriseWith does, Cancel puts the picture back exactly. Without a
  // picture nothing opens.
  Q_INVOKABLE void Colourise();
  // Reads a palette file (JASC-PAL, GIMP .gpl, RIFF PAL or Photoshop .act,
  // told apart by content) and maps the picture to it, each pixel to its
  // nearest colour. Clears the error record first, like a load. True on
  // success; False with the picture unchanged and the error record filled:
  //   170 "Error loading palette. File missing or unreadable." (warning 48)
  //       for a missing path, a directory or an unreadable file;
  //   101 "Palette format not supported" (warning 48) for a file of no
  //       palette format (an empty one too);
  //   500 "Invalid palette file!" (critical 16) for a truncated one, or one
  //       with 0 or more than 256 colours or values that are not 0..255;
  //   400 "There is no picture to apply the palette to" (warning 48).
  Q_INVOKABLE bool LoadPalette(const QString& StrFile);
  Q_INVOKABLE void CombinePictures(const qorv::PicturePtr& Picture1, const qorv::PicturePtr& Picture2,
                                   qint32 CombinationType = 0, float Multiplier1 = 0, float Multiplier2 = 0,
                                   qint32 Offset1 = 0, qint32 Offset2 = 0);
  void AddCustomFilter(const IntArray2D& Array2D);
  // Automation form: a list of rows (lists of integers), indexed -r..r.
  Q_INVOKABLE void AddCustomFilter(const QVariantList& Array2D);
  Q_INVOKABLE qint32 ShellExecute(const QString& lPath, const QString& InitDir,
                                  const QString& Parameters = QString(), const QString& Operation = QString());
  Q_INVOKABLE void ShowAbout();
  bool Tiled() const;
  void setTiled(bool v);
  qint32 ZoomType() const;
  void setZoomType(qint32 v);
  bool Rotate(bool* ClockWise);
  Q_INVOKABLE bool Rotate(bool ClockWise);
  bool AutoRedraw() const;
  void setAutoRedraw(bool v);
  bool VisualZoom() const;
  void setVisualZoom(bool v);
  FontPtr OSDFont() const;
  void setOSDFont(const FontPtr& v);
  qint32 OSDBackColor() const;
  void setOSDBackColor(qint32 v);
  qint32 OSDForeColor() const;
  void setOSDForeColor(qint32 v);
  bool ShowOffsetOSD() const;
  void setShowOffsetOSD(bool v);
  bool ZoomOSD() const;
  void setZoomOSD(bool v);
  bool OSDTransparent() const;
  void setOSDTransparent(bool v);
  bool OSDShaddow() const;
  void setOSDShaddow(bool v);
  qint32 OSDShaddowColor() const;
  void setOSDShaddowColor(qint32 v);
  qint16 OSDShaddowSize() const;
  void setOSDShaddowSize(qint16 v);
  Q_INVOKABLE qint32 GetTicks();
  qint32 HQInitialDelay() const;
  void setHQInitialDelay(qint32 v);
  Q_INVOKABLE bool BitBltPicture(qint32 fHDC, qint32 fWidth, qint32 fHeight);
  bool HQAutoSwitch() const;
  void setHQAutoSwitch(bool v);
  Q_INVOKABLE void OLEDrag();
  bool NoLoadingHourGlass() const;
  void setNoLoadingHourGlass(bool v);
  qint16 MousePointer() const;
  void setMousePointer(qint16 v);
  PicturePtr MouseIcon() const;
  void setMouseIcon(const PicturePtr& v);
  qint32 FillStyle() const;
  void setFillStyle(qint32 v);
  qint32 FillColor() const;
  void setFillColor(qint32 v);
  bool IsZooming() const;
  Q_INVOKABLE void ClearError();

  // ===== Members beyond the classic surface =====================================

  // Bits per pixel as stored in the file the picture was last loaded from
  // (the control itself always holds 32); 0 when it came from elsewhere.
  qint32 SourceBitsPerPixel() const;

  // The mouse wheel (and a touchpad's scroll with Ctrl, or its pinch) zooms
  // in steps of KeyboardZoomFactor within the keyboard limits, keeping the
  // picture point under the pointer where it is. Default True.
  bool WheelZoom() const;
  void setWheelZoom(bool v);
  // Loading a picture keeps Zoom and the offsets (brought into range)
  // instead of resetting the offsets to 0. Default False.
  bool KeepViewOnPictureChange() const;
  void setKeepViewOnPictureChange(bool v);
  // On a screen with more than one device pixel per pixel, the pane works in
  // device pixels: its scale size is the control's size times the ratio and
  // Zoom 100 from the original shows one picture pixel per device pixel.
  // False keeps the screen's logical pixels. Default True.
  bool DevicePixels() const;
  void setDevicePixels(bool v);
  // Whether SaveFreeImage flushes the new file to the disk before it takes
  // the target's name (True, the default: after a crash the old file or the
  // new one is there, never a truncated one). Batch work that can simply be
  // run again may turn it off; the save is then as fast as the disk cache.
  bool SyncOnSave() const;
  void setSyncOnSave(bool v);

  // Whether the image library decodes files in a separate, confined helper
  // process (default true). A crash, a hang past LoadTimeout or a memory limit
  // there is an ordinary failed load (170). False decodes in this process,
  // for hosts that trust their files.
  bool IsolatedDecoding() const;
  void setIsolatedDecoding(bool v);
  // Milliseconds an isolated decode may take (default 10000; 0 or less means
  // the default). The host's thread waits no longer than this.
  qint32 LoadTimeout() const;
  void setLoadTimeout(qint32 v);
  // Whether content the library detects as a format beyond the control's
  // enumeration (newer than FIF_CUT) is read as such (default false: such
  // content counts as undetected and the file's extension decides).
  bool AllowUnlistedFormats() const;
  void setAllowUnlistedFormats(bool v);
  // Whether JPEG and TIFF pictures are turned upright by their orientation
  // tag when loaded (default false: shown as stored).
  bool AutoRotate() const;
  void setAutoRotate(bool v);

  // Colourise without the dialog: every pixel takes hue Hue (degrees, taken
  // round the circle, so 360 is 0 and -30 is 330) and saturation Saturation
  // (percent, held within 0..100) and keeps its lightness, moved Lightness
  // percent (held within -100..100) of the way to white (positive) or black
  // (negative). Numbers that are not finite raise error 5 and change nothing.
  // Raises ProcessInit/Process/ProcessComplete ("Colourise") like any filter.
  Q_INVOKABLE void ColouriseWith(double Hue, double Saturation, double Lightness = 0.0);
  // Maps the picture to a built-in palette (0 web-safe 216 colours, 1 the 16
  // EGA colours, 2 256 greys, 3 black and white), each pixel to its nearest
  // colour, or with Floyd-Steinberg error diffusion (serpentine rows) when
  // Dither. Another Index raises error 5. Progress events "Palette".
  Q_INVOKABLE void ApplyBuiltInPalette(qint32 Index, bool Dither = false);
  // LoadPalette with a choice of error diffusion: the same file formats,
  // result and error record.
  Q_INVOKABLE bool ApplyPaletteFile(const QString& StrFile, bool Dither = false);
  // Rotates the picture by Degrees (positive clockwise on screen, as
  // Rotate(True)); the picture grows to the rotated bounding box, corners no
  // source pixel covers take BackColor (missing: the control's BackColor; a
  // system colour is resolved). Quality 0 nearest, 1 bilinear, 2 bicubic.
  // Multiples of 90 give exact quarter turns (no interpolation). True when
  // the picture was turned; False, unchanged, without a picture or when the
  // result cannot be created. A non-finite angle or another Quality raises
  // error 5. Progress events "Rotate", one per row of the result.
  Q_INVOKABLE bool RotateAngle(double Degrees, const QVariant& BackColor = QVariant(), qint32 Quality = 1);

  // Whether a picture's transparency is shown: its transparent and
  // translucent pixels over a checkerboard of light greys (8-pixel squares
  // anchored at the pane's corner) instead of as their opaque colours.
  // Default False. The alpha is kept only by loads made while it is True
  // (LoadFreeImage, LoadVBPicture) and by setImage with an image that has
  // one; turning it off and on again shows the kept alpha at once. The
  // picture itself stays opaque, as always: image operations, saving, the
  // clipboard and Picture/Image see the same pixels as without it, and an
  // operation that changes the picture (a filter, a rotation, a resample...)
  // or assigning another picture drops the alpha.
  bool ShowTransparency() const;
  void setShowTransparency(bool v);

  // ===== The Qt surface ==========================================================
  // For Qt code and QML, beside the classic members and never changing them:
  // names that hide no QWidget member, Qt value types, NOTIFY signals, no
  // exceptions. Each property reads and writes through the classic member it
  // mirrors, so a change reports and redraws exactly as the classic one does.
  // They are meta-object members only; invoke() knows the classic ones.

  // Colours as QColor. Reading resolves a system colour through the current
  // palette; assigning stores a plain RGB reference (alpha is ignored) and an
  // invalid QColor is ignored.
  QColor backgroundColor() const;  // BackColor
  void setBackgroundColor(const QColor& color);
  QColor foregroundColor() const;  // ForeColor
  void setForegroundColor(const QColor& color);
  QColor shapeFillColor() const;  // FillColor (`fillColor` would overload setFillColor)
  void setShapeFillColor(const QColor& color);
  QColor osdBackgroundColor() const;  // OSDBackColor
  void setOsdBackgroundColor(const QColor& color);
  QColor osdForegroundColor() const;  // OSDForeColor
  void setOsdForegroundColor(const QColor& color);
  QColor osdShadowColor() const;  // OSDShaddowColor
  void setOsdShadowColor(const QColor& color);

  // Zoom in percent; values beyond the classic 16-bit range are clamped to it.
  int zoomPercent() const;
  void setZoomPercent(int percent);
  // (OffsetX, OffsetY); assigning moves both before one redraw, as Offset does.
  QPoint offset() const;
  void setOffset(const QPoint& offset);
  // A copy of the picture (Format_RGB32; null when there is none; while
  // ShowTransparency keeps an alpha for it, Format_ARGB32 with that alpha).
  // Assigning replaces the picture as the Picture property does; an alpha
  // channel is dropped (pixels keep their colour, made opaque) unless
  // ShowTransparency is True, which keeps it for display.
  QImage image() const;
  void setImage(const QImage& image);
  // True while a filter runs (between ProcessInit and ProcessComplete).
  bool isBusy() const;

  // Load or save a file by path, never showing a dialog. They return false on
  // failure (an empty path included) and errorString() then says why; saving
  // takes the format from the extension, `quality` -1 meaning the default.
  Q_INVOKABLE bool openFile(const QString& path);
  Q_INVOKABLE bool saveFile(const QString& path, int quality = -1);
  // "error N: description" from the error record; empty when there is none.
  Q_INVOKABLE QString errorString() const;

  // ===== Dispatch ===============================================================

  // Calls a member by dispatch id (or name) with automation arguments: an
  // invalid QVariant is a missing optional argument; by-reference arguments are
  // written back into `args`; for Let/Set the new value is the last argument.
  // Throws AutomationError on bad calls: 450 wrong number of arguments, 13 type
  // mismatch, 449 argument not optional, 438 unknown member or kind.
  QVariant invoke(int dispid, int kind, QVariantList& args);
  QVariant invoke(const QString& name, int kind, QVariantList& args);
  QVariant invoke(int dispid, int kind, QVariantList&& args) { return invoke(dispid, kind, args); }
  QVariant invoke(const QString& name, int kind, QVariantList&& args) { return invoke(name, kind, args); }
  // Dispatch id of a member name (case-insensitive), 0 if unknown.
  static int dispidOf(const QString& name);

  void setEventHook(EventHook hook);

  // Gives every property its default, as when the control is first placed on a
  // form (the constructor does this); reports nothing and redraws nothing.
  void InitProperties();
  // Saves the stored properties into `PropBag`: the 51 classic keys in their
  // fixed order, then the members beyond the classic surface under their own
  // names. Errors of the store are passed on.
  void WriteProperties(PropertyBag& PropBag);
  // Restores what WriteProperties saved, key by key. Values are applied as
  // they are read, without redrawing and without reporting changes (except
  // MouseIcon's); an absent key gives its default. A value the store cannot
  // give or the control cannot take stops the read with that error, the keys
  // before it staying applied. Resize or Refresh the control afterwards.
  void ReadProperties(PropertyBag& PropBag);

  // Pictures declaring more pixels than this fail to load (error 170) before
  // their pixels are read; 0 or less lifts the limit. Default 225000000: a
  // 200-megapixel camera file opens, a 16384 x 16384 bomb does not.
  qint64 MaxLoadPixels() const;
  void setMaxLoadPixels(qint64 v);

 signals:
  // Events, ids 1..28 (ZoomFinished 27 and ZoomBegin 28 are out of sequence).
  // The drag-and-drop events' Data is valid only while the event runs.
  void UseApiChanged();
  void OLEDragDrop(qorv::DataObject* Data, int* Effect, int Button, int Shift, float x, float y);
  void OLEDragOver(qorv::DataObject* Data, int* Effect, int Button, int Shift, float x, float y, int State);
  void Click();
  void DblClick();
  void KeyDown(int* KeyCode, int Shift);
  void KeyPress(int* KeyAscii);
  void KeyUp(int* KeyCode, int Shift);
  void MouseDown(int Button, int Shift, float x, float y);
  void MouseMove(int Button, int Shift, float x, float y);
  void MouseUp(int Button, int Shift, float x, float y);
  void Zooming();
  void Draw();
  void LoadImage(const QString& StrPath, int FIFType);
  void PictureChanged();
  void SaveImage(const QString& StrPath, int FIFType);
  void OffsetChanged(int* NewX, int* NewY);
  void ProcessInit(int Max, const QString& Description);
  void Process(int Value, const QString& Description);
  void ProcessComplete(const QString& Description);
  void FileChange(const QString& NewFile);
  void OSDDraw(QString* OSDString, bool* Cancel);
  void OLECompleteDrag(int* Effect);
  void OLEGiveFeedback(int* Effect, bool* DefaultCursor);
  void OLESetData(qorv::DataObject* Data, int* DataFormat);
  void OLEStartDrag(qorv::DataObject* Data, int* AllowedEffects);
  void ZoomFinished();
  void ZoomBegin();

  // Every reported property change, under the property's own name (also sent
  // to host().propertyChanged()).
  void propertyChangedNotify(const QString& name);

  // NOTIFY signals of the Qt surface, by value, after the classic event or
  // change report; each only when the value differs from the last one sent.
  void backgroundColorChanged(const QColor& color);
  void foregroundColorChanged(const QColor& color);
  void shapeFillColorChanged(const QColor& color);
  void osdBackgroundColorChanged(const QColor& color);
  void osdForegroundColorChanged(const QColor& color);
  void osdShadowColorChanged(const QColor& color);
  void zoomChanged(int percent);
  // The value form of OffsetChanged, for handlers that only read.
  void offsetChanged(const QPoint& offset);
  // After the picture was assigned, loaded, or changed by an image operation.
  void pictureChanged();
  void busyChanged(bool busy);

 protected:
  void resizeEvent(QResizeEvent* e) override;
  bool event(QEvent* e) override;

 private:
  void Initialize();
  void Terminate();

  friend class QorvPicturePrivate;
  std::unique_ptr<QorvPicturePrivate> d_;
};

}  // namespace qorv
