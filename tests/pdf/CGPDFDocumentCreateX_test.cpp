#include "pdf/CGPDFDocumentCreateX.h"

#include <gtest/gtest.h>

#include "support/PdfFixture.h"
#include "support/TempDir.h"

namespace {

using pdf::CGPDFDocumentCreateX;
using testsupport::PdfFixture;

class CGPDFDocumentCreateXTest : public ::testing::Test {
protected:
    std::string plain() {
        PdfFixture().pages(2, {0, 0, 600, 800}).write(dir_ / "plain.pdf");
        return (dir_ / "plain.pdf").string();
    }
    std::string encrypted(const std::string& user, const std::string& owner,
                          const std::string& method = "aes-256") {
        PdfFixture().pages(2, {0, 0, 600, 800}).writeEncrypted(dir_ / "e.pdf", user, owner, method);
        return (dir_ / "e.pdf").string();
    }
    testsupport::TempDir dir_;
};

TEST_F(CGPDFDocumentCreateXTest, PlainFileIgnoresAnyPassword) {
    for (std::optional<std::string> password : {std::optional<std::string>(), {""}, {"wrong"}}) {
        auto document = CGPDFDocumentCreateX(plain(), password);
        ASSERT_TRUE(document.has_value());
        EXPECT_EQ(document->pageCount(), 2);
    }
}

TEST_F(CGPDFDocumentCreateXTest, NoPathOrNoFileGivesNothing) {
    EXPECT_FALSE(CGPDFDocumentCreateX("", std::nullopt).has_value());
    EXPECT_FALSE(CGPDFDocumentCreateX((dir_ / "missing.pdf").string(), "x").has_value());
}

TEST_F(CGPDFDocumentCreateXTest, EmptyUserPasswordOpensEvenWithAWrongPassword) {
    auto document = CGPDFDocumentCreateX(encrypted("", "owner"), "wrong");
    ASSERT_TRUE(document.has_value());
    EXPECT_TRUE(document->isUnlocked());
    EXPECT_EQ(document->pageCount(), 2);
}

TEST_F(CGPDFDocumentCreateXTest, UserAndOwnerPasswordsUnlockEveryMethod) {
    for (const char* method : {"rc4-40", "rc4-128", "aes-128", "aes-256"}) {
        SCOPED_TRACE(method);
        std::string path = encrypted("user", "owner", method);
        EXPECT_TRUE(CGPDFDocumentCreateX(path, "user").has_value());
        EXPECT_TRUE(CGPDFDocumentCreateX(path, "owner").has_value());
        EXPECT_FALSE(CGPDFDocumentCreateX(path, "wrong").has_value());
        EXPECT_FALSE(CGPDFDocumentCreateX(path, "").has_value());
        EXPECT_FALSE(CGPDFDocumentCreateX(path, std::nullopt).has_value());
    }
}

TEST_F(CGPDFDocumentCreateXTest, PasswordOf126BytesOrMoreIsNotApplied) {
    std::string fits(125, 'p');
    EXPECT_TRUE(CGPDFDocumentCreateX(encrypted(fits, "owner"), fits).has_value());
    std::string tooLong(126, 'p');
    EXPECT_FALSE(CGPDFDocumentCreateX(encrypted(tooLong, "owner"), tooLong).has_value());
}

TEST_F(CGPDFDocumentCreateXTest, PasswordLengthCountsUtf8Bytes) {
    std::string accents;
    for (int i = 0; i < 63; ++i) accents += "\xC3\xA9";  // 63 characters, 126 bytes
    EXPECT_FALSE(CGPDFDocumentCreateX(encrypted(accents, "owner"), accents).has_value());
    std::string shorter = accents.substr(2);  // 124 bytes
    EXPECT_TRUE(CGPDFDocumentCreateX(encrypted(shorter, "owner"), shorter).has_value());
}

}  // namespace
