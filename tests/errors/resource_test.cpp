#include <skar/errors.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> everyKey() {
    std::ifstream file(SKAR_TEST_DATA "/errors/message_keys.txt");
    std::vector<std::string> keys;
    for (std::string key; std::getline(file, key);)
        keys.push_back(key);
    return keys;
}

TEST(Resource, TheBundleOfTheLibraryIsThereFromTheStart) {
    EXPECT_NE(BathyResource::instance().bundle("SkarMessages"), nullptr);
    EXPECT_EQ(BathyResource::instance().bundle("OtherMessages"), nullptr);
}

TEST(Resource, EveryKeyHasAText) {
    const std::vector<std::string> keys = everyKey();
    ASSERT_EQ(keys.size(), 88u);
    for (const std::string& key : keys) {
        const std::string text = BathyResource::instance().message(key).toUTF8();
        EXPECT_NE(text, key);
        EXPECT_NE(text.find(' '), std::string::npos) << key;
        EXPECT_EQ(text.back(), '.') << key;
    }
}

TEST(Resource, KeysThatDifferByAFullStopAreDifferentMessages) {
    const BathyResource& resource = BathyResource::instance();
    EXPECT_NE(resource.message("errorMessages/SKARio/ProcessedDepths/freadDepthFailed"),
              resource.message("errorMessages/SKARio/ProcessedDepths/freadDepthFailed."));
}

TEST(Resource, AKeyWithoutATextShowsAsItIs) {
    for (const char* key : {"errorMessages/SKARio/noSuchKey", "errorMessages/SKARio",
                            "errorMessages//lineIsEmpty", "nothing", "", "/"})
        EXPECT_EQ(BathyResource::instance().message(key).toUTF8(), key);
}

TEST(Resource, DataThatIsNoBundleIsRefusedWithTheNameOfTheError) {
    alignas(16) static const char rubbish[64] = "not a resource bundle";
    try {
        BathyResource::instance().addBundle("Rubbish", rubbish);
        FAIL() << "was taken";
    } catch (const Morva::Exception::Error& thrown) {
        const std::string* name = boost::get_error_info<BathyResource::icu_error>(thrown);
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(name->substr(0, 2), "U_");
        EXPECT_EQ(thrown.messageId(), "MESSAGE_ID_INTERNAL_ERROR");
        const char* const* source = boost::get_error_info<boost::throw_file>(thrown);
        ASSERT_NE(source, nullptr);
        EXPECT_STREQ(*source, "bathy/bathysupport/resource.cpp");
    }
    EXPECT_EQ(BathyResource::instance().bundle("Rubbish"), nullptr);
}

} // namespace
