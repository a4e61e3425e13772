#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "BinaryElem.h"
#include "CompositeElem.h"
#include "Decoding.h"
#include "IntegerElem.h"
#include "MapElem.h"
#include "MessageText.h"
#include "OutputFolder.h"
#include "RandomTree.h"
#include "Reading.h"

// Messages of every kind around trees that a seed determines, with doubles, bytes, dates in texts and the
// largest numbers among them, and the same messages read and written again.
void writeMessages(const OutputFolder& folder) {
  const Stored camera("sys.class", "Camera", new CompositeElem(nullptr));
  const Stored shelf("globals", "shelf", new MapElem);
  shelf->addChild("item", new IntegerElem(1));

  std::string written;
  std::string readBack;
  for (unsigned int seed = 1; seed <= 600; ++seed) {
    Random random(seed);
    const std::unique_ptr<Element> element = built(random.tree());
    // One after the other: arguments may be worked out in any order.
    const int requestID = random.integer();
    const std::string first = random.content().written;
    const std::string second = random.content().written;
    XMLVisitor visitor(static_cast<int>(seed % 12), requestID, first, second, "2026-02-28T23:59:59Z");
    element->accept(&visitor);
    written += dump(visitor);
    const std::string message = response(*element);
    written += message;
    const Reading reading = readUncaptured(message);
    if (reading.result) readBack += response(*reading.result) + treeOf(reading.result.get()) + "\n";
  }
  folder.write("messages.xml", written);
  folder.write("messages-read.xml", readBack);

  std::string bytes;
  for (int size = 0; size < 70; ++size) bytes += static_cast<char>(size * 37);
  BinaryElem binary(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
  folder.write("binary.xml", response(binary));
}
