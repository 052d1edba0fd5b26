#include "platform/security/CommonCryptor.h"
#include "support/NSDataExtensions.h"
#include "support/NSStringExtensions.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

std::vector<uint8_t> bytes(std::string_view hex)
{
    std::vector<uint8_t> made;
    for (size_t at = 0; at < hex.size(); at += 2)
        made.push_back(static_cast<uint8_t>(std::stoi(std::string { hex.substr(at, 2) }, nullptr, 16)));
    return made;
}

// NIST SP 800-38A, F.2.5 (CBC-AES256.Encrypt).
const auto nistKey = bytes("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
const auto nistVector = bytes("000102030405060708090a0b0c0d0e0f");
const auto nistPlain = bytes("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                             "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
const auto nistCipher = bytes("f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
                              "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b");

CCCryptorStatus encrypt(size_t keyLength, std::vector<uint8_t>& out, size_t& moved)
{
    return CCCrypt(kCCEncrypt, kCCAlgorithmAES, kCCOptionPKCS7Padding, nistKey.data(), keyLength,
        nistVector.data(), nistPlain.data(), nistPlain.size(), out.data(), out.size(), &moved);
}

TEST(CommonCryptor, EncryptsTheBlocksOfThePublishedVector)
{
    std::vector<uint8_t> out(80);
    size_t moved = 0;
    ASSERT_EQ(encrypt(kCCKeySizeAES256, out, moved), kCCSuccess);
    EXPECT_EQ(moved, 80u) << "a whole block of padding";
    out.resize(nistCipher.size());
    EXPECT_EQ(out, nistCipher);
}

TEST(CommonCryptor, RefusesWhatItCannotDo)
{
    std::vector<uint8_t> out(79);
    size_t moved = 0;
    EXPECT_EQ(encrypt(kCCKeySizeAES256, out, moved), kCCBufferTooSmall);
    EXPECT_EQ(moved, 80u);
    EXPECT_EQ(encrypt(kCCKeySizeAES256 - 1, out, moved), kCCParamError);
    EXPECT_EQ(CCCrypt(kCCEncrypt, kCCAlgorithmAES, CCOptions { 2 }, nistKey.data(), nistKey.size(), nullptr,
                  nullptr, 0, out.data(), out.size(), &moved),
        kCCUnimplemented);
}

TEST(NSDataAES, KeysAndVectorsAreFilledUpWithZerosOrCut)
{
    const std::string zeros(32, '\0');
    const NSData plain = NSData::fromText("plain");
    EXPECT_EQ(
        AES256EncryptWithKey(plain, "k", ""), AES256EncryptWithKey(plain, "k" + zeros.substr(1), zeros));
    EXPECT_EQ(AES256EncryptWithKey(plain, zeros + "beyond", ""), AES256EncryptWithKey(plain, "", ""));
    const std::string block(16, '7');
    EXPECT_EQ(AES256EncryptWithKey(plain, "k", block), AES256EncryptWithKey(plain, "k", block + "beyond"));
    EXPECT_NE(AES256EncryptWithKey(plain, "k", block), AES256EncryptWithKey(plain, "k", ""));
    EXPECT_EQ(AES256EncryptWithKey({}, "k", "")->bytes.size(), 16u);
}

// RFC 1321, A.5.
TEST(NSStringMD5, DigestsThePublishedSuite)
{
    const std::pair<const char*, const char*> rows[] = {
        { "", "d41d8cd98f00b204e9800998ecf8427e" },
        { "message digest", "f96b697d7cb7938d525a2f31aaf161d0" },
        { "12345678901234567890123456789012345678901234567890123456789012345678901234567890",
            "57edf4a22be3c955ac49da2e2107b67a" },
    };
    for (const auto& [text, digest] : rows)
        EXPECT_EQ(md5(text), digest) << text;
}

} // namespace
} // namespace lumora
