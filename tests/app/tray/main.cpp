#include <QCoreApplication>
#include <gmock/gmock.h>

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  const QCoreApplication loop(argc, argv);
  return RUN_ALL_TESTS();
}
