#include "PdfDocument.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <map>
#include <new>
#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Discard.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <stdexcept>
#include <system_error>

#include "ColorProfile.h"
#include "OwnedDescriptor.h"

namespace frontend {
namespace {

constexpr int pointsPerInch = 72;

// Passes the finished document to the sink.
class SinkPipeline final : public Pipeline {
 public:
  explicit SinkPipeline(ByteSink& sink) : Pipeline("file", nullptr), sink_(sink) {}
  void write(const unsigned char* bytes, std::size_t count) override { sink_.write(bytes, count); }
  void finish() override {}

 private:
  ByteSink& sink_;
};

std::string points(std::uint32_t pixels, std::uint32_t resolution) {
  char text[40];
  const std::uint64_t thousandths =
      (std::uint64_t{pixels} * pointsPerInch * 1000 + resolution / 2) / resolution;
  std::snprintf(text, sizeof text, "%u.%03u", static_cast<unsigned>(thousandths / 1000),
                static_cast<unsigned>(thousandths % 1000));
  return text;
}

// A copy would double the memory that a document takes.
std::shared_ptr<Buffer> borrow(const std::string& bytes) {
  auto* start = reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data()));
  return std::make_shared<Buffer>(start, bytes.size());
}

// The color spaces of the pages of one document, which borrow the bytes of their profiles. All pages of a
// kind share one.
class ColorSpaces {
 public:
  explicit ColorSpaces(QPDF& document) : document_(document) {}

  QPDFObjectHandle of(const PictureLayout& layout) {
    const std::string& profile = colorProfileOf(layout);
    if (profile.empty()) return QPDFObjectHandle::newName("/DeviceGray");
    const auto [space, added] = spaces_.try_emplace(layout.channels);
    if (added) space->second = document_.makeIndirectObject(newSpace(layout.channels, profile));
    return space->second;
  }

 private:
  QPDFObjectHandle newSpace(std::uint32_t channels, const std::string& profile) {
    QPDFObjectHandle stream = document_.newStream(borrow(profile));
    stream.getDict().replaceKey("/N", QPDFObjectHandle::newInteger(channels));
    stream.getDict().replaceKey("/Alternate",
                                QPDFObjectHandle::newName(channels == 3 ? "/DeviceRGB" : "/DeviceGray"));
    return QPDFObjectHandle::newArray({QPDFObjectHandle::newName("/ICCBased"), stream});
  }

  QPDF& document_;
  std::map<std::uint32_t, QPDFObjectHandle> spaces_;  // by their number of channels
};

QPDFObjectHandle imageOf(QPDF& document, ColorSpaces& spaces, const PdfPicture& page) {
  const PictureLayout& layout = page.layout;
  QPDFObjectHandle image = document.newStream(borrow(page.bytes));
  image.replaceDict(
      QPDFObjectHandle::parse("<< /Type /XObject /Subtype /Image /Width " + std::to_string(layout.width) +
                              " /Height " + std::to_string(layout.height) + " /BitsPerComponent " +
                              std::to_string(layout.bitsPerChannel) + " " + page.filter + " >>"));
  image.getDict().replaceKey("/ColorSpace", spaces.of(layout));
  return image;
}

void addPage(QPDF& document, ColorSpaces& spaces, const PdfPicture& page) {
  const std::string width = points(page.layout.width, page.layout.resolution);
  const std::string height = points(page.layout.height, page.layout.resolution);
  QPDFObjectHandle sheet = QPDFObjectHandle::parse("<< /Type /Page /MediaBox [ 0 0 " + width + " " + height +
                                                   " ] /Resources << /XObject << >> >> >>");
  sheet.getKey("/Resources").getKey("/XObject").replaceKey("/Page", imageOf(document, spaces, page));
  sheet.replaceKey("/Contents", document.newStream("q " + width + " 0 0 " + height + " 0 0 cm /Page Do Q\n"));
  QPDFPageDocumentHelper(document).addPage(document.makeIndirectObject(sheet), false);
}

// "D:20261122042700Z" (ISO 32000-1, 7.9.4).
std::string dateOf(std::int64_t secondsSince1970) {
  const auto time = static_cast<std::time_t>(secondsSince1970);
  std::tm date{};
  gmtime_r(&time, &date);
  char text[40];
  std::strftime(text, sizeof text, "D:%Y%m%d%H%M%SZ", &date);
  return text;
}

QPDFObjectHandle informationFrom(const PictureSettings& settings) {
  QPDFObjectHandle information = QPDFObjectHandle::newDictionary();
  information.replaceKey("/Producer", QPDFObjectHandle::newUnicodeString(settings.software));
  if (!settings.title.empty())
    information.replaceKey("/Title", QPDFObjectHandle::newUnicodeString(settings.title));
  if (settings.created)
    information.replaceKey("/CreationDate", QPDFObjectHandle::newString(dateOf(*settings.created)));
  return information;
}

// The document of a file, which is read on demand. Nothing is repaired: what the library guessed would
// replace what may be all that is left of the original.
void open(QPDF& document, int descriptor) {
  platform::OwnedDescriptor own(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
  std::FILE* const file = own.get() < 0 ? nullptr : fdopen(own.get(), "rb");
  if (file == nullptr) throw std::system_error(errno, std::generic_category());
  own.release();  // the stream closes it
  document.setAttemptRecovery(false);
  document.processFile("document", file, true);
}

bool isSigned(QPDF& document) {
  QPDFObjectHandle form = document.getRoot().getKey("/AcroForm");
  if (!form.isDictionary()) return false;
  QPDFObjectHandle flags = form.getKey("/SigFlags");
  return flags.isInteger() && (flags.getIntValue() & 1) != 0;
}

// Writes the document, through which all of its objects are read.
void write(QPDF& document, Pipeline& pipeline, bool appended) {
  QPDFWriter writer(document);
  writer.setOutputPipeline(&pipeline);
  writer.setStreamDataMode(qpdf_s_preserve);
  writer.setObjectStreamMode(appended ? qpdf_o_preserve : qpdf_o_disable);
  writer.setMinimumPDFVersion("1.4");
  writer.setDeterministicID(true);
  writer.write();
}

// Where an allocation fails, the PDF library reports that the object which it is reading is damaged. Throws
// std::bad_alloc instead.
void throwIfNoMemory(const QPDFExc& error) {
  if (error.getMessageDetail().find("bad_alloc") != std::string::npos) throw std::bad_alloc();
}

// A document that the PDF library merely warns of may lack what was scanned: it counts as failed.
void requireComplete(QPDF& document, std::size_t pages) {
  if (document.anyWarnings()) {
    const QPDFExc warning = document.getWarnings().front();
    throwIfNoMemory(warning);
    throw std::runtime_error(warning.what());
  }
  const std::size_t found = document.getAllPages().size();
  if (found == pages) return;
  throw std::runtime_error("the document has " + std::to_string(found) + " pages instead of " +
                           std::to_string(pages));
}

// The number that the document states, 0 if it states none.
std::size_t statedPages(QPDF& document) {
  QPDFObjectHandle tree = document.getRoot().getKey("/Pages");
  if (!tree.isDictionary() || !tree.getKey("/Count").isInteger()) return 0;
  return static_cast<std::size_t>(tree.getKey("/Count").getUIntValue());
}

// Adds an empty page, which shows whether the tree of pages can take another one.
void tryAnotherPage(QPDF& document, std::size_t pages) {
  const auto page = QPDFObjectHandle::newDictionary({{"/Type", QPDFObjectHandle::newName("/Page")}});
  QPDFPageDocumentHelper(document).addPage(QPDFPageObjectHelper(document.makeIndirectObject(page)), false);
  if (document.anyWarnings()) throw document.getWarnings().front();
  if (document.getAllPages().size() != pages + 1) throw std::logic_error("the page is missing");
}

std::uint32_t pagesFoundIn(int descriptor) {
  char header[5] = {};
  if (pread(descriptor, header, sizeof header, 0) != sizeof header || std::string(header, 5) != "%PDF-")
    throw std::runtime_error("it is not a PDF file");
  QPDF document;
  document.setSuppressWarnings(true);
  try {
    open(document, descriptor);
    if (document.isEncrypted()) throw std::runtime_error("it is encrypted");
    if (isSigned(document))
      throw std::runtime_error("it is signed, and another page would break the signature");
    Pl_Discard nothing;
    write(document, nothing, true);
    if (document.anyWarnings()) throw document.getWarnings().front();
    const std::size_t pages = document.getAllPages().size();
    // Pages that cannot be found would be missing from the document afterwards.
    if (pages < statedPages(document)) throw std::runtime_error("it is damaged (pages are missing)");
    tryAnotherPage(document, pages);
    return static_cast<std::uint32_t>(pages);
  } catch (const std::logic_error&) {
    throw std::runtime_error("it is damaged (its pages cannot be found)");
  } catch (const QPDFExc& error) {
    throwIfNoMemory(error);
    if (error.getErrorCode() == qpdf_e_password) throw std::runtime_error("it is encrypted");
    throw std::runtime_error("it is damaged (" + error.getMessageDetail() + ")");
  }
}

}  // namespace

void writePdfDocument(ByteSink& sink, const std::vector<PdfPicture>& pages, const PictureSettings& settings) {
  if (pages.empty()) throw std::runtime_error("the document has no pages");
  const bool appended = settings.appendTo >= 0;
  QPDF document;
  document.setSuppressWarnings(true);
  if (appended) open(document, settings.appendTo);
  if (!appended) document.emptyPDF();
  const std::size_t all = document.getAllPages().size() + pages.size();
  ColorSpaces spaces(document);
  for (const PdfPicture& page : pages) addPage(document, spaces, page);
  if (!appended)
    document.getTrailer().replaceKey("/Info", document.makeIndirectObject(informationFrom(settings)));
  requireComplete(document, all);

  SinkPipeline pipeline(sink);
  write(document, pipeline, appended);
  requireComplete(document, all);
}

// Twice, if need be: memory that runs out for a moment can look like any damage.
std::uint32_t pagesOfPdf(int descriptor) try {
  return pagesFoundIn(descriptor);
} catch (const std::bad_alloc&) {
  throw;
} catch (const std::exception&) {
  return pagesFoundIn(descriptor);
}

}  // namespace frontend
