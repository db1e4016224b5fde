// Test entry point: a QApplication on the offscreen platform (unless the caller
// chose one), so that panes, fonts, timers and the clipboard work headless.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  // Test programs that link the I/O layer directly are not beside the decoder
  // helper; they use the one this build made.
#ifdef QORV_TEST_DECODER
  if (qEnvironmentVariableIsEmpty("QORV_DECODER")) qputenv("QORV_DECODER", QORV_TEST_DECODER);
#endif
  QApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
