#include "platform/webkit/HTMLTokenizer.h"

#include <array>
#include <gtest/gtest.h>

namespace lumora::test {

/// The tokens in a row, each as "[tag name=value]", "[/tag]" or its text.
static std::string tokensOf(std::string_view html)
{
    std::string result;
    HTMLTokenizer tokenizer(html);
    for (HTMLToken token; tokenizer.next(token);) {
        if (token.kind == HTMLToken::Kind::Text) {
            result += token.text;
            continue;
        }
        result += (token.kind == HTMLToken::Kind::EndTag ? "[/" : "[") + token.name;
        for (const auto& [name, value] : token.attributes)
            result += " " + name + "=" + std::string { value };
        result += token.selfClosing ? "/]" : "]";
    }
    return result;
}

TEST(HTMLTokenizer, SplitsAsBrowsersDo)
{
    const std::array<const char*, 3> rows[] {
        { "tags and text", "a<B>b</B >c", "a[b]b[/b]c" },
        { "attributes", "<a HREF='x y' b=\"c>d\" e f=g/h i = j>", "[a href=x y b=c>d e= f=g/h i=j]" },
        { "self-closing", "<br/><img / src=x>", "[br/][img src=x]" },
        { "an attribute that is only a sign", "<a =x>", "[a =x=]" },
        { "comments and declarations", "<!doctype html>a<!-- <b> -->b<?php c>d</ e>f", "abdf" },
        { "signs that begin nothing", "1 < 2 <3 </ <", "1 < 2 <3 " },
        { "a script", "<script>if (a<b) '</div>'</SCRIPT >x", "[script]if (a<b) '</div>'[/script]x" },
        { "a style with a look-alike", "<style>a</styles></style>", "[style]a</styles>[/style]" },
        { "cut in a tag", "x<a href=\"y", "x[a href=y]" },
        { "cut in a comment", "x<!-- y", "x" },
        { "cut in a script", "<script>x<b>", "[script]x<b>" },
        { "cut after the sign", "x<", "x<" },
    };
    for (const auto& [name, html, tokens] : rows)
        EXPECT_EQ(tokensOf(html), tokens) << name;
}

TEST(HTMLTokenizer, DecodesTheReferencesOfMarkup)
{
    EXPECT_EQ(decodedHTML("a&amp;b &lt;&gt;&quot;&apos; &#65;&#x42;&#X20ac;"), "a&b <>\"' AB\u20ac");
    EXPECT_EQ(decodedHTML("&copy; & &; &#; &#x; &#12x; &unknownreference; &"),
        "&copy; & &; &#; &#x; &#12x; &unknownreference; &");
    EXPECT_EQ(decodedHTML("&#0;&#xd800;&#99999999999;"), "\ufffd\ufffd\ufffd");
    EXPECT_EQ(decodedHTML("&amp;lt;"), "&lt;") << "once only";
}

} // namespace lumora::test
