// A page that an XML parser has read.

#pragma once

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <memory>
#include <string>
#include <vector>

namespace test_page {

/// In XPath expressions, h: is the prefix of the page's elements and s: that of the drawings'.
class ParsedPage {
 public:
  explicit ParsedPage(const std::string& page)
      : mDocument(xmlReadMemory(page.data(), static_cast<int>(page.size()), "page", "UTF-8",
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                  xmlFreeDoc) {}

  bool IsWellFormed() const { return mDocument != nullptr; }

  /// The text of each element or attribute found, in the order of the page.
  std::vector<std::string> Texts(const std::string& path) const {
    std::vector<std::string> texts;
    const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
        xmlXPathNewContext(mDocument.get()), xmlXPathFreeContext);
    xmlXPathRegisterNs(context.get(), BAD_CAST "h", BAD_CAST "http://www.w3.org/1999/xhtml");
    xmlXPathRegisterNs(context.get(), BAD_CAST "s", BAD_CAST "http://www.w3.org/2000/svg");
    const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> found(
        xmlXPathEvalExpression(BAD_CAST path.c_str(), context.get()), xmlXPathFreeObject);
    EXPECT_NE(found, nullptr) << path;
    for (int i = 0; found && found->nodesetval && i < found->nodesetval->nodeNr; ++i) {
      xmlChar* text = xmlNodeGetContent(found->nodesetval->nodeTab[i]);
      texts.emplace_back(reinterpret_cast<const char*>(text));
      xmlFree(text);
    }
    return texts;
  }

  std::size_t Count(const std::string& path) const { return Texts(path).size(); }

 private:
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> mDocument;
};

}  // namespace test_page
