/*
 * Which values of a document are other ones.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/compare/compare_fixture.h"
#include "tests/unit/platform/states/fake_parser.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tvqplatform::Unreadable;

class CompareFields : public CompareTest {
 protected:
  Unreadable Read(const std::string& document) {
    FakeDevice device;
    device.document = document;
    mBlobs = BlobsOf(device);
    return tvqplatform::Document().Read(View(mBlobs));
  }
  // Of two documents.
  std::vector<std::string> ChangesOf(const std::string& before, const std::string& after) {
    tvqplatform::TextPool pool;
    tvqplatform::OwnedArray<tvqplatform::FieldValue> values[2];
    const std::string documents[] = {before, after};
    for (int i = 0; i < 2; ++i) {
      FakeDevice device;
      device.document = documents[i];
      tvqplatform::Document document;
      const Bytes blobs = BlobsOf(device);
      EXPECT_EQ(document.Read(View(blobs)), Unreadable::kNot);
      EXPECT_TRUE(document.Collect(true, pool, values[i]));
    }
    tvqplatform::OwnedArray<tvqplatform::FieldChange> changes;
    EXPECT_TRUE(AppendChanges(values[0], values[1], pool, changes));
    std::vector<std::string> lines;
    const auto textAt = [&pool](UINT32 where) {
      return where == tvqplatform::kNone ? std::string("(none)") : std::string(pool.At(where));
    };
    for (const tvqplatform::FieldChange& change : changes) {
      lines.push_back(textAt(change.Path) + ": " + textAt(change.Before) + " -> " +
                      textAt(change.After));
    }
    return lines;
  }

 private:
  Bytes mBlobs;
};

TEST_F(CompareFields, AreTheTextsThatDifferInTheOrderOfTheDocument) {
  LoadPlatform();
  EXPECT_THAT(
      ChangesOf("<r><z>1</z><s><a>2</a><b>3</b></s></r>", "<r><s><a>4</a><b>3</b></s><z>5</z></r>"),
      ElementsAre("z: 1 -> 5", "s/a: 2 -> 4"));
}

TEST_F(CompareFields, ThatOneSideDoesNotHaveAreThereOnTheOther) {
  LoadPlatform();
  EXPECT_THAT(ChangesOf("<r><a>1</a><c></c></r>", "<r><b>2</b></r>"),
              ElementsAre("a: 1 -> (none)", "c:  -> (none)", "b: (none) -> 2"));
}

TEST_F(CompareFields, OfSectionsThatRepeatAreNumbered) {
  LoadPlatform();
  EXPECT_THAT(ChangesOf("<r><t><s><a>1</a></s><s><a>2</a></s></t><t><s><a>3</a></s></t></r>",
                        "<r><t><s><a>1</a></s><s><a>9</a></s></t><t><s><a>8</a></s></t></r>"),
              ElementsAre("t/s[2]/a: 2 -> 9", "t[2]/s/a: 3 -> 8"));
}

TEST_F(CompareFields, OfSectionsThatRepeatAreNumberedAtEveryDepth) {
  LoadPlatform();
  const auto nested = [](const std::string& value) {
    return "<r><a><b><c><d><e><f><g><h><v>1</v></h></g><g><h><v>" + value +
           "</v></h></g></f></e></d></c></b></a></r>";
  };
  EXPECT_THAT(ChangesOf(nested("2"), nested("3")), ElementsAre("a/b/c/d/e/f/g[2]/h/v: 2 -> 3"));
}

// A path has room for 255 characters.
TEST_F(CompareFields, HaveTheBeginningOfAPathThatIsTooLong) {
  LoadPlatform();
  const auto path = [this](size_t length, const std::string& more) {
    const std::string name(length, 'x');
    const auto section = [&name](const std::string& value) {
      return "<" + name + "><v>" + value + "</v></" + name + ">";
    };
    const std::vector<std::string> changes = ChangesOf(
        "<r>" + section("1") + section("2") + "</r>", "<r>" + section("1") + section("3") + "</r>");
    EXPECT_THAT(changes, ElementsAre(name.substr(0, 255) + more + ": 2 -> 3"));
  };
  path(250, "[2]/v");
  path(251, "[2]/");
  path(252, "[2]");
  path(253, "[2");
}

TEST_F(CompareFields, ThatRepeatAreThoseAtTheSamePlace) {
  LoadPlatform();
  EXPECT_THAT(ChangesOf("<r><a>1</a><a>2</a></r>", "<r><a>1</a><a>3</a></r>"),
              ElementsAre("a: 2 -> 3"));
}

TEST_F(CompareFields, HaveUuidsInTheUsualOrder) {
  LoadPlatform();
  EXPECT_THAT(ChangesOf("<r><UUID>33221100554477668899aabbccddeeff</UUID></r>",
                        "<r><UUID>short</UUID></r>"),
              ElementsAre("UUID: 00112233-4455-6677-8899-aabbccddeeff -> short"));
}

TEST_F(CompareFields, ThatAreNoUuidStandAsTheyAre) {
  LoadPlatform();
  const std::string uuid = "33221100554477668899aabbccddeeff";
  for (const char other : {'/', ':', '`', 'g', 'A', ' ', 'x'}) {
    for (const size_t place : {0, 1, 30, 31}) {
      std::string text = uuid;
      text[place] = other;
      EXPECT_THAT(
          ChangesOf("<r><UUID>" + text + "|</UUID></r>", "<r><UUID>" + text + "</UUID></r>"),
          ElementsAre("UUID: " + text + "| -> " + text));
    }
  }
}

TEST_F(CompareFields, OfEqualDocumentsAreNone) {
  LoadPlatform();
  EXPECT_THAT(ChangesOf("<r><a>1</a></r>", "<r>\n<a>1</a></r>"), IsEmpty());
}

TEST_F(CompareFields, CannotBeReadWithoutAParser) {
  EXPECT_EQ(Read("<a/>"), Unreadable::kNoParser);
}

TEST_F(CompareFields, CannotBeReadOfWhatIsNoDocument) {
  LoadPlatform();
  EXPECT_EQ(Read("<a/>"), Unreadable::kNot);
  EXPECT_EQ(Read("<a>&</a>"), Unreadable::kNotWellFormed);
  EXPECT_EQ(tvqplatform::Document().Read({}), Unreadable::kNoDocument);
}

// The path of an element is a copy for each, so that a document of the driver's depth is enough.
TEST_F(CompareFields, CannotBeReadWithoutMemoryWhichIsNoFaultOfTheDocument) {
  LoadPlatform();
  uint64_t failed = 0;
  for (uint64_t n = 1;; ++n) {
    Firmware().Memory().FailAllocation(n, host::images::platform);
    const Unreadable why = Read("<r><a>1</a></r>");
    Firmware().Memory().StopFailing();
    if (why == Unreadable::kNot) {
      break;
    }
    ASSERT_EQ(why, Unreadable::kNoMemory) << n;
    ++failed;
  }
  EXPECT_GT(failed, 3u);
}

TEST_F(CompareFields, CannotBeReadOfSectionsDeepInEachOther) {
  LoadPlatform();
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) {
      text += "<s>";
    }
    for (int i = 0; i < depth; ++i) {
      text += "</s>";
    }
    return "<r>" + text + "</r>";
  };
  EXPECT_EQ(Read(nested(9)), Unreadable::kNot);
  EXPECT_EQ(Read(nested(10)), Unreadable::kOtherLayout);
  EXPECT_EQ(Read(nested(5000)), Unreadable::kOtherLayout);
}

TEST_F(CompareFields, CannotBeReadOfSectionsDeepInEachOtherBehindAnyElement) {
  LoadPlatform();
  EXPECT_EQ(Read("<r><a>1</a><s><s><s><s><s><s><s><s><s><s/></s></s></s></s></s></s></s></s></s>"
                 "<a>1</a></r>"),
            Unreadable::kOtherLayout);
}

TEST_F(CompareFields, AreAskedOfTheParserAsItsProtocolWants) {
  const FakeParser parser(Firmware(), EFI_SUCCESS);
  EXPECT_EQ(Read("<a/>"), Unreadable::kNot);
  EXPECT_EQ(parser.Documents(), std::vector<std::string>{"<a/>"});
}

}  // namespace
}  // namespace tvq::test
