#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "FileSizeLimit.h"
#include "WritingPictures.h"

namespace {

using namespace frontend;

TEST_F(WritingPictures, TurnsPagesInEveryFormat) {
  PictureSettings turned = settings();
  turned.rotation = Rotation::quarter;
  turned.lossless = true;
  TestPicture upright(narrowLineart.layout.height, narrowLineart.layout.width, 1, 1);
  const auto rows = makeRotatedRows(narrowLineart.pixels, narrowLineart.layout, Rotation::quarter);
  for (std::uint32_t row = 0; row < upright.layout.height; ++row)
    std::copy_n(rows->next(), upright.layout.rowBytes(), &upright.pixels[row * upright.layout.rowBytes()]);
  for (const PictureFormat format : formats) {
    ASSERT_TRUE(write(format, {&upright}));
    const std::string expected = contentOf(path);
    ASSERT_TRUE(write(format, {&narrowLineart}, turned));
    EXPECT_TRUE(contentOf(path) == expected) << static_cast<int>(format);
  }
}

TEST_F(WritingPictures, AbandonsATurnedPage) {
  PictureSettings turned = settings();
  turned.multiPage = true;
  turned.rotation = Rotation::threeQuarters;
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    ASSERT_TRUE(write(format, {&color}, turned));
    const std::string expected = contentOf(path);
    const int descriptor = create();
    ByteSink sink(descriptor);
    const auto writer = makePictureWriter(format, sink, turned);
    grey.writeTo(*writer);
    writer->setPageAside();
    color.writeTo(*writer);
    writer->beginPage(lineart.layout);
    lineart.writeRows(*writer, 1);
    writer->abandonPage();
    writer->finish();
    close(descriptor);
    EXPECT_TRUE(contentOf(path) == expected);
  }
}

TEST_F(WritingPictures, WritesTheSmallestPicture) {
  const TestPicture bit(1, 1, 1, 1);
  const TestPicture byte(1, 1, 1);
  for (const PictureFormat format : formats) {
    EXPECT_TRUE(write(format, {&bit}));
    EXPECT_TRUE(write(format, {&byte}));
  }
}

TEST_F(WritingPictures, WritesTheSameBytesEveryTime) {
  for (const PictureFormat format : formats) {
    write(format, {&color});
    const std::string first = contentOf(path);
    write(format, {&color});
    EXPECT_EQ(contentOf(path), first);
  }
}

TEST_F(WritingPictures, DropsAnAbandonedPage) {
  PictureSettings several = settings();
  several.multiPage = true;
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    ASSERT_TRUE(write(format, {&color, &lineart}, several));
    const std::string expected = contentOf(path);
    for (const TestPicture* third : {&grey, &lineart}) {
      const int descriptor = create();
      ByteSink sink(descriptor);
      const auto writer = makePictureWriter(format, sink, several);
      color.writeTo(*writer);
      lineart.writeTo(*writer);
      writer->beginPage(third->layout);
      third->writeRows(*writer, third->layout.height - 1);
      writer->abandonPage();
      writer->finish();
      close(descriptor);
      EXPECT_TRUE(sink.good());
      EXPECT_EQ(contentOf(path), expected);
    }
  }
}

TEST_F(WritingPictures, KeepsThePagesBeforeOneThatTheDiskHasNoRoomFor) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&color, &lineart}, severalPages()));
  const std::string expected = contentOf(path);
  ASSERT_TRUE(write(PictureFormat::tiff, {&color, &lineart, &grey}, severalPages()));
  const auto whole = static_cast<rlim_t>(contentOf(path).size());
  // Wherever the disk becomes full: in the rows, in the directory, or in the link to it.
  for (rlim_t room = expected.size(); room < whole; room += room + 400 < whole ? 9973 : 7) {
    const int descriptor = create();
    ByteSink sink(descriptor);
    const auto writer = makePictureWriter(PictureFormat::tiff, sink, severalPages());
    color.writeTo(*writer);
    lineart.writeTo(*writer);
    {
      const FileSizeLimit limit(room);
      grey.writeTo(*writer);
    }
    EXPECT_FALSE(sink.good());
    sink.recover();
    writer->abandonPage();
    writer->finish();
    close(descriptor);
    EXPECT_TRUE(sink.good()) << sink.failure();
    ASSERT_TRUE(contentOf(path) == expected) << room;
  }
}

TEST_F(WritingPictures, ReplacesThePageThatWasSetAside) {
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    for (const TestPicture* first : {&color, &lineart}) {
      ASSERT_TRUE(write(format, {first, &narrowLineart, &color}, severalPages()));
      const std::string expected = contentOf(path);
      const int descriptor = create();
      ByteSink sink(descriptor);
      const auto writer = makePictureWriter(format, sink, severalPages());
      first->writeTo(*writer);
      grey.writeTo(*writer);
      writer->setPageAside();
      narrowLineart.writeTo(*writer);
      color.writeTo(*writer);
      writer->finish();
      close(descriptor);
      EXPECT_TRUE(sink.good());
      EXPECT_TRUE(contentOf(path) == expected);
    }
  }
}

TEST_F(WritingPictures, PutsAPageBackWhereTheNextOneIsAbandoned) {
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    for (const std::vector<const TestPicture*>& pages : std::vector<std::vector<const TestPicture*>>{
             {&grey}, {&color, &lineart}, {&color, &lineart, &grey}}) {
      ASSERT_TRUE(write(format, pages, severalPages()));
      const std::string expected = contentOf(path);
      const int descriptor = create();
      ByteSink sink(descriptor);
      const auto writer = makePictureWriter(format, sink, severalPages());
      for (const TestPicture* page : pages) page->writeTo(*writer);
      writer->setPageAside();
      writer->beginPage(grey.layout);
      grey.writeRows(*writer, 1000);
      writer->abandonPage();
      writer->finish();
      close(descriptor);
      EXPECT_TRUE(sink.good());
      EXPECT_TRUE(contentOf(path) == expected);
    }
  }
}

TEST_F(WritingPictures, ReportsWhyItFailed) {
  const int full = open("/dev/full", O_RDWR);
  for (const PictureFormat format : formats) {
    ByteSink sink(full);
    const auto writer = makePictureWriter(format, sink, settings());
    grey.writeTo(*writer);
    writer->finish();
    EXPECT_FALSE(sink.good());
    EXPECT_EQ(sink.failure(), "No space left on device");
  }
  close(full);
}

TEST_F(WritingPictures, EndsOnlyForACancelThatInsistsWhileSaving) {
  Cancellation cancel;
  cancel.request();
  const int descriptor = create();
  ByteSink sink(descriptor, &cancel);
  sink.setSaving(true);
  EXPECT_TRUE(sink.write("saved", 5));
  cancel.insist();
  EXPECT_FALSE(sink.write("lost", 4));
  EXPECT_TRUE(sink.cancelled());
  close(descriptor);
  EXPECT_EQ(contentOf(path), "saved");
}

TEST_F(WritingPictures, WritesTheSameFileWhenItIsFlushedAfterEveryRow) {
  for (const PictureFormat format : formats) {
    ASSERT_TRUE(write(format, {&grey}));
    const std::string whole = contentOf(path);
    ByteSink sink(create());
    const auto writer = makePictureWriter(format, sink, settings());
    writer->beginPage(grey.layout);
    for (std::uint32_t row = 0; row < grey.layout.height; ++row) {
      writer->writeRow(grey.pixels.data() + row * grey.layout.rowBytes());
      writer->flush();
    }
    writer->endPage();
    writer->finish();
    EXPECT_EQ(contentOf(path), whole) << static_cast<int>(format);
  }
}

TEST_F(WritingPictures, StopsForACancel) {
  Cancellation cancel;
  cancel.request();
  for (const PictureFormat format : formats) {
    const int descriptor = create();
    ByteSink sink(descriptor, &cancel);
    const auto writer = makePictureWriter(format, sink, settings());
    color.writeTo(*writer);
    writer->finish();
    close(descriptor);
    EXPECT_TRUE(sink.cancelled());
    EXPECT_FALSE(sink.good());
    EXPECT_EQ(sink.failure(), "");
    EXPECT_EQ(contentOf(path), "");
  }
}

}  // namespace
