#include "platform/webkit/HTMLTokenizer.h"

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
    struct Row {
        const char* name;
        const char* html;
        const char* tokens;
    };
    for (const Row& row :
        {
            Row { "tags and text", "a<B>b</B >c", "a[b]b[/b]c" },
            Row { "attributes", "<a HREF='x y' b=\"c>d\" e f=g/h i = j>", "[a href=x y b=c>d e= f=g/h i=j]" },
            Row { "self-closing", "<br/><img / src=x>", "[br/][img src=x]" },
            Row { "an attribute that is only a sign", "<a =x>", "[a =x=]" },
            Row { "comments and declarations", "<!doctype html>a<!-- <b> -->b<?php c>d</ e>f", "abdf" },
            Row { "signs that begin nothing", "1 < 2 <3 </ <", "1 < 2 <3 " },
            Row { "a script", "<script>if (a<b) '</div>'</SCRIPT >x", "[script]if (a<b) '</div>'[/script]x" },
            Row { "a style with a look-alike", "<style>a</styles></style>", "[style]a</styles>[/style]" },
            Row { "cut in a tag", "x<a href=\"y", "x[a href=y]" },
            Row { "cut in a comment", "x<!-- y", "x" },
            Row { "cut in a script", "<script>x<b>", "[script]x<b>" },
            Row { "cut after the sign", "x<", "x<" },
        })
        EXPECT_EQ(tokensOf(row.html), row.tokens) << row.name;
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
