#include "tools/orbdocs/markdown.h"

#include <cmark-gfm-core-extensions.h>
#include <cmark-gfm.h>

#include <cctype>
#include <cstdlib>
#include <memory>
#include <string>

namespace orbdocs {
namespace {

struct Freed {
  void operator()(cmark_node *node) const { cmark_node_free(node); }
  void operator()(cmark_iter *iterator) const { cmark_iter_free(iterator); }
  void operator()(char *text) const { std::free(text); }
};

using Document = std::unique_ptr<cmark_node, Freed>;

// CommonMark with tables.
Document parse(std::string_view markdown) {
  struct Closed {
    void operator()(cmark_parser *parser) const { cmark_parser_free(parser); }
  };
  cmark_gfm_core_extensions_ensure_registered();
  const std::unique_ptr<cmark_parser, Closed> parser(cmark_parser_new(CMARK_OPT_DEFAULT));
  cmark_parser_attach_syntax_extension(parser.get(), cmark_find_syntax_extension("table"));
  cmark_parser_feed(parser.get(), markdown.data(), markdown.size());
  return Document(cmark_parser_finish(parser.get()));
}

// Puts HTML in the place of a node.
void replace(cmark_node *node, cmark_node_type type, const std::string &html) {
  cmark_node *const other = cmark_node_new(type);
  cmark_node_set_literal(other, html.c_str());
  cmark_node_replace(node, other);
  cmark_node_free(node);
}

std::string text_below(cmark_node *node) {
  std::string text;
  for (cmark_node *child = cmark_node_first_child(node); child; child = cmark_node_next(child)) {
    const char *literal = cmark_node_get_literal(child);
    text += literal ? literal : text_below(child);
  }
  return text;
}

void change(cmark_node *node, const MarkdownLinks &links) {
  switch (cmark_node_get_type(node)) {
  case CMARK_NODE_CODE: {
    const std::string word = cmark_node_get_literal(node);
    if (cmark_node_get_type(cmark_node_parent(node)) == CMARK_NODE_LINK) break;
    if (const std::string address = links.name(word); !address.empty())
      replace(node, CMARK_NODE_HTML_INLINE,
              "<a href=\"" + address + "\"><code>" + escaped(word) + "</code></a>");
    break;
  }
  case CMARK_NODE_CODE_BLOCK: {
    const std::string language = cmark_node_get_fence_info(node);
    const std::string text = cmark_node_get_literal(node);
    const bool shell = language == "sh";
    replace(node, CMARK_NODE_HTML_BLOCK,
            std::string("<pre class=") + (shell ? "shell" : "lua") + "><code>" +
                (shell ? escaped(text) : highlighted(text, links.name)) + "</code></pre>");
    break;
  }
  case CMARK_NODE_LINK:
  case CMARK_NODE_IMAGE:
    cmark_node_set_url(node, links.target(cmark_node_get_url(node)).c_str());
    break;
  default: break;
  }
}

} // namespace

std::string id_of(std::string_view heading) {
  std::string id;
  for (const char c : heading) {
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '-')
      id += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    else if (c == ' ')
      id += '-';
  }
  return id;
}

std::string html_of(std::string_view markdown, const MarkdownLinks &links) {
  const Document document = parse(markdown);
  const std::unique_ptr<cmark_iter, Freed> iterator(cmark_iter_new(document.get()));
  for (cmark_event_type event; (event = cmark_iter_next(iterator.get())) != CMARK_EVENT_DONE;) {
    cmark_node *const node = cmark_iter_get_node(iterator.get());
    if (event == CMARK_EVENT_ENTER && cmark_node_get_type(node) == CMARK_NODE_HEADING) {
      cmark_node *const anchor = cmark_node_new(CMARK_NODE_HTML_BLOCK);
      cmark_node_set_literal(anchor, ("<a id=\"" + id_of(text_below(node)) + "\"></a>").c_str());
      cmark_node_insert_before(node, anchor);
    }
    // Nodes that have children are changed when they are left, so that none goes while its children
    // are walked; the others are met once.
    const bool leaf = !cmark_node_first_child(node);
    if (leaf ? event == CMARK_EVENT_ENTER : event == CMARK_EVENT_EXIT) change(node, links);
  }
  const std::unique_ptr<char, Freed> html(
      cmark_render_html(document.get(), CMARK_OPT_UNSAFE, nullptr));
  return html.get();
}

std::string man_of(std::string_view markdown) {
  const Document document = parse(markdown);
  // On paper a link is its text.
  const std::unique_ptr<cmark_iter, Freed> iterator(cmark_iter_new(document.get()));
  for (cmark_event_type event; (event = cmark_iter_next(iterator.get())) != CMARK_EVENT_DONE;) {
    cmark_node *const node = cmark_iter_get_node(iterator.get());
    if (event != CMARK_EVENT_EXIT || cmark_node_get_type(node) != CMARK_NODE_LINK) continue;
    while (cmark_node *const child = cmark_node_first_child(node))
      cmark_node_insert_before(node, child);
    cmark_node_free(node);
  }
  const std::unique_ptr<char, Freed> man(cmark_render_man(document.get(), CMARK_OPT_DEFAULT, 0));
  return man.get();
}

} // namespace orbdocs
