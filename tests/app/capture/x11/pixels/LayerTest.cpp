#include "app/capture/x11/pixels/AppCanvas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel::x11 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Layer document{1, 11, {0, 0, 100, 100}, false};
const Layer dialog{2, 22, {50, 50, 60, 30}, false};

TEST(ChangedAreas, OfTheSameLayersAreNone) {
  EXPECT_THAT(changedAreas({}, {}), IsEmpty());
  EXPECT_THAT(changedAreas({document, dialog}, {document, dialog}), IsEmpty());
}

TEST(ChangedAreas, OfALayerThatComesOrGoesAreItsOwn) {
  EXPECT_THAT(changedAreas({document}, {document, dialog}), ElementsAre(dialog.area));
  EXPECT_THAT(changedAreas({document, dialog}, {document}), ElementsAre(dialog.area));
}

TEST(ChangedAreas, OfALayerThatMovesAreWhereItWasAndIs) {
  Layer moved = dialog;
  moved.area.x = 200;
  EXPECT_THAT(changedAreas({document, dialog}, {document, moved}),
              ElementsAre(dialog.area, moved.area));
}

TEST(ChangedAreas, OfLayersThatChangePlacesAreBoth) {
  EXPECT_THAT(changedAreas({document, dialog}, {dialog, document}),
              ElementsAre(document.area, dialog.area, dialog.area, document.area));
}

TEST(ChangedAreas, OfALayerWithANewPixmapAreItsOwn) {
  Layer renewed = document;
  renewed.pixmap = 12;
  EXPECT_THAT(changedAreas({document}, {renewed}), ElementsAre(document.area, document.area));
}

}  // namespace
}  // namespace tarvinel::x11
