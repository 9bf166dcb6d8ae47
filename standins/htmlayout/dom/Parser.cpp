#include "standins/htmlayout/dom/Parser.h"

#include <algorithm>
#include <cwctype>

namespace hl {

namespace {

bool OneOf(const std::wstring& tag, std::initializer_list<const wchar_t*> names) {
  for (const wchar_t* name : names) {
    if (tag == name) return true;
  }
  return false;
}

bool IsSpace(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r' || c == L'\f'; }
bool IsAsciiLetter(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); }
bool IsAllSpace(const std::wstring& text) { return std::all_of(text.begin(), text.end(), IsSpace); }

wchar_t Lower(wchar_t c) { return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + 32) : c; }

std::wstring LowerCase(std::wstring text) {
  for (auto& c : text) c = Lower(c);
  return text;
}

struct NamedReference {
  const wchar_t* name;
  wchar_t value;
};

// The references installer pages use; others stay as written.
const NamedReference kNamedReferences[] = {
    {L"amp", L'&'},      {L"lt", L'<'},        {L"gt", L'>'},       {L"quot", L'"'},     {L"apos", L'\''},
    {L"nbsp", 0xA0},     {L"copy", 0xA9},      {L"reg", 0xAE},      {L"trade", 0x2122},  {L"hellip", 0x2026},
    {L"mdash", 0x2014},  {L"ndash", 0x2013},   {L"laquo", 0xAB},    {L"raquo", 0xBB},    {L"bull", 0x2022},
    {L"middot", 0xB7},   {L"euro", 0x20AC},    {L"pound", 0xA3},    {L"yen", 0xA5},      {L"cent", 0xA2},
    {L"times", 0xD7},    {L"divide", 0xF7},    {L"deg", 0xB0},      {L"plusmn", 0xB1},   {L"para", 0xB6},
    {L"sect", 0xA7},     {L"shy", 0xAD},       {L"lsquo", 0x2018},  {L"rsquo", 0x2019},  {L"ldquo", 0x201C},
    {L"rdquo", 0x201D},  {L"larr", 0x2190},    {L"rarr", 0x2192},   {L"uarr", 0x2191},   {L"darr", 0x2193},
    {L"auml", 0xE4},     {L"ouml", 0xF6},      {L"uuml", 0xFC},     {L"Auml", 0xC4},     {L"Ouml", 0xD6},
    {L"Uuml", 0xDC},     {L"szlig", 0xDF},     {L"eacute", 0xE9},   {L"egrave", 0xE8},   {L"agrave", 0xE0},
    {L"ccedil", 0xE7},   {L"check", 0x2713},   {L"ensp", 0x2002},   {L"emsp", 0x2003},   {L"thinsp", 0x2009},
};

void AppendCodePoint(std::wstring& out, unsigned long code) {
  if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
  if (code >= 0x10000) {
    code -= 0x10000;
    out += static_cast<wchar_t>(0xD800 + (code >> 10));
    out += static_cast<wchar_t>(0xDC00 + (code & 0x3FF));
  } else {
    out += static_cast<wchar_t>(code);
  }
}

// Resolves the character references of text; a malformed one stays as written.
std::wstring Unescape(const std::wstring& text) {
  if (text.find(L'&') == std::wstring::npos) return text;
  std::wstring out;
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    wchar_t c = text[i];
    if (c != L'&') {
      out += c;
      ++i;
      continue;
    }
    size_t j = i + 1;
    if (j < text.size() && text[j] == L'#') {
      ++j;
      bool hex = j < text.size() && (text[j] == L'x' || text[j] == L'X');
      if (hex) ++j;
      size_t digitsStart = j;
      unsigned long code = 0;
      while (j < text.size() && (hex ? iswxdigit(text[j]) : iswdigit(text[j])) && j - digitsStart < 8) {
        wchar_t d = text[j];
        unsigned digit = d <= L'9' ? d - L'0' : (Lower(d) - L'a' + 10);
        code = code * (hex ? 16 : 10) + digit;
        ++j;
      }
      if (j == digitsStart) {
        out += c;
        ++i;
        continue;
      }
      while (j < text.size() && (hex ? iswxdigit(text[j]) : iswdigit(text[j]))) {
        code = 0x110000;  // too long: out of range
        ++j;
      }
      if (j < text.size() && text[j] == L';') ++j;
      AppendCodePoint(out, code);
      i = j;
      continue;
    }
    size_t nameStart = j;
    while (j < text.size() && j - nameStart < 10 && (IsAsciiLetter(text[j]) || iswdigit(text[j]))) ++j;
    bool matched = false;
    if (j < text.size() && text[j] == L';') {
      std::wstring name = text.substr(nameStart, j - nameStart);
      for (auto& reference : kNamedReferences) {
        if (name == reference.name) {
          out += reference.value;
          i = j + 1;
          matched = true;
          break;
        }
      }
    }
    if (!matched) {
      out += c;
      ++i;
    }
  }
  return out;
}

// Elements that belong in the head when they come before any content.
bool IsHeadElement(const std::wstring& tag) {
  return OneOf(tag, {L"title", L"meta", L"link", L"style", L"script", L"base"});
}

// Blocks that end an open <p>.
bool ClosesParagraph(const std::wstring& tag) {
  return OneOf(tag, {L"p", L"div", L"ul", L"ol", L"dl", L"table", L"h1", L"h2", L"h3", L"h4", L"h5", L"h6",
                     L"pre", L"blockquote", L"form", L"fieldset", L"hr", L"section", L"header", L"footer",
                     L"nav", L"article", L"aside", L"address", L"menu", L"center", L"li", L"dt", L"dd"});
}

struct Attribute {
  std::wstring name, value;
};

class TreeBuilder {
 public:
  explicit TreeBuilder(Document& document) : document_(document) {
    html_ = NewElement(L"html");
    document_.SetRoot(html_);
  }

  ~TreeBuilder() {
    // Elements are created detached and adopted by SetRoot/InsertChild; the
    // whole tree hangs from the root by now.
  }

  void Text(const std::wstring& raw) {
    std::wstring text = Unescape(raw);
    if (!body_) {
      if (IsAllSpace(text)) return;
      EnsureBody();
    }
    if (Current() == html_ || Current() == head_) {
      if (IsAllSpace(text)) return;
      stack_.assign(1, body_);
    }
    AppendText(Current(), text);
  }

  void RawText(Element* element, const std::wstring& text) { AppendText(element, text); }

  // Returns the new element, or null when the tag only changed an existing one.
  Element* Start(const std::wstring& tag, std::vector<Attribute>& attributes, bool selfClosing) {
    if (tag == L"html") {
      Merge(html_, attributes);
      return nullptr;
    }
    if (tag == L"head") {
      if (!head_ && !body_) {
        head_ = Add(html_, L"head", attributes);
        stack_.assign(1, head_);
      }
      return nullptr;
    }
    if (tag == L"body") {
      if (body_) {
        Merge(body_, attributes);
      } else {
        body_ = Add(html_, L"body", attributes);
      }
      stack_.assign(1, body_);
      return nullptr;
    }
    Element* parent;
    if (!body_ && IsHeadElement(tag)) {
      if (!head_) head_ = Add(html_, L"head", {});
      if (Current() == html_) stack_.assign(1, head_);
      parent = Current();
    } else {
      EnsureBody();
      if (Current() == head_ || Current() == html_) stack_.assign(1, body_);
      CloseImplied(tag);
      parent = Current();
    }
    Element* element = Add(parent, tag, attributes);
    if (!selfClosing && !IsVoidElement(tag) && stack_.size() < kMaxDepth) stack_.push_back(element);
    return element;
  }

  void End(const std::wstring& tag) {
    if (tag == L"html" || tag == L"body" || tag == L"head") {
      if (tag == L"head" && head_ && stack_.size() == 1 && stack_[0] == head_) stack_.assign(1, html_);
      return;  // content after them still goes to the body
    }
    for (size_t i = stack_.size(); i > 1; --i) {
      if (stack_[i - 1]->tag == tag) {
        stack_.resize(i - 1);
        return;
      }
    }
  }

  void Finish() { EnsureBody(); }

 private:
  Element* Current() const { return stack_.empty() ? html_ : stack_.back(); }

  void EnsureBody() {
    if (body_) return;
    body_ = Add(html_, L"body", {});
    stack_.assign(1, body_);
  }

  Element* Add(Element* parent, const std::wstring& tag, const std::vector<Attribute>& attributes) {
    Element* element = NewElement(tag);
    Merge(element, attributes);
    InsertChild(parent, element, static_cast<size_t>(-1));
    return element;
  }

  static void Merge(Element* element, const std::vector<Attribute>& attributes) {
    for (auto& attribute : attributes) {
      if (!element->Attribute(attribute.name)) element->attributes.emplace_back(attribute.name, attribute.value);
    }
  }

  // Closes the open element named `closes` when found before any of `stops`.
  void CloseOpen(std::initializer_list<const wchar_t*> closes, std::initializer_list<const wchar_t*> stops) {
    for (size_t i = stack_.size(); i > 1; --i) {
      const std::wstring& open = stack_[i - 1]->tag;
      if (OneOf(open, closes)) {
        stack_.resize(i - 1);
        return;
      }
      if (OneOf(open, stops)) return;
    }
  }

  void CloseImplied(const std::wstring& tag) {
    if (ClosesParagraph(tag)) {
      CloseOpen({L"p"}, {L"div", L"td", L"th", L"li", L"table", L"button", L"form", L"blockquote", L"dd", L"dt"});
    }
    if (tag == L"li") CloseOpen({L"li"}, {L"ul", L"ol", L"menu", L"div", L"table"});
    if (tag == L"dt" || tag == L"dd") CloseOpen({L"dt", L"dd"}, {L"dl", L"div", L"table"});
    if (tag == L"option") CloseOpen({L"option"}, {L"select", L"datalist", L"optgroup", L"div"});
    if (tag == L"optgroup") {
      CloseOpen({L"option"}, {L"select", L"datalist", L"optgroup", L"div"});
      CloseOpen({L"optgroup"}, {L"select", L"div"});
    }
    if (tag == L"td" || tag == L"th") CloseOpen({L"td", L"th"}, {L"tr", L"table"});
    if (tag == L"tr") {
      CloseOpen({L"td", L"th"}, {L"tr", L"table"});
      CloseOpen({L"tr"}, {L"table", L"tbody", L"thead", L"tfoot"});
    }
    if (tag == L"tbody" || tag == L"thead" || tag == L"tfoot") {
      CloseOpen({L"td", L"th"}, {L"tr", L"table"});
      CloseOpen({L"tr"}, {L"table", L"tbody", L"thead", L"tfoot"});
      CloseOpen({L"tbody", L"thead", L"tfoot"}, {L"table"});
    }
  }

  Document& document_;
  Element* html_ = nullptr;
  Element* head_ = nullptr;
  Element* body_ = nullptr;
  std::vector<Element*> stack_;  // open elements below <html>
};

class Tokenizer {
 public:
  Tokenizer(const std::wstring& text, TreeBuilder& builder, Document& document)
      : s_(text), builder_(builder), document_(document) {}

  void Run() {
    size_t textStart = 0;
    while (i_ < s_.size()) {
      if (s_[i_] != L'<' || !StartsMarkup()) {
        ++i_;
        continue;
      }
      if (i_ > textStart) builder_.Text(s_.substr(textStart, i_ - textStart));
      Markup();
      textStart = i_;
    }
    if (i_ > textStart) builder_.Text(s_.substr(textStart, i_ - textStart));
    builder_.Finish();
  }

 private:
  bool StartsMarkup() const {
    if (i_ + 1 >= s_.size()) return false;
    wchar_t c = s_[i_ + 1];
    return IsAsciiLetter(c) || c == L'/' || c == L'!' || c == L'?';
  }

  void SkipPast(const wchar_t* end) {
    size_t found = s_.find(end, i_);
    i_ = found == std::wstring::npos ? s_.size() : found + wcslen(end);
  }

  void Markup() {
    if (s_.compare(i_, 4, L"<!--") == 0) {
      i_ += 4;
      SkipPast(L"-->");
      return;
    }
    if (s_[i_ + 1] == L'!' || s_[i_ + 1] == L'?') {
      SkipPast(L">");
      return;
    }
    if (s_[i_ + 1] == L'/') {
      i_ += 2;
      std::wstring name = Name();
      SkipPast(L">");
      if (!name.empty()) builder_.End(name);
      return;
    }
    ++i_;
    std::wstring tag = Name();
    std::vector<Attribute> attributes;
    bool selfClosing = Attributes(attributes);
    Element* element = builder_.Start(tag, attributes, selfClosing);
    if (!element) return;
    if (IsRawTextElement(tag) && !selfClosing) {
      std::wstring endTag = L"</" + tag;
      size_t end = FindCaseless(endTag);
      std::wstring content = s_.substr(i_, end - i_);
      builder_.RawText(element, tag == L"textarea" || tag == L"title" ? Unescape(content) : content);
      i_ = end;
      if (i_ < s_.size()) SkipPast(L">");
      builder_.End(tag);
    }
    Note(element);
  }

  size_t FindCaseless(const std::wstring& needle) const {
    for (size_t at = i_; at + needle.size() <= s_.size(); ++at) {
      bool equal = true;
      for (size_t k = 0; k < needle.size() && equal; ++k) equal = Lower(s_[at + k]) == needle[k];
      if (equal) return at;
    }
    return s_.size();
  }

  std::wstring Name() {
    size_t start = i_;
    while (i_ < s_.size() && !IsSpace(s_[i_]) && s_[i_] != L'>' && s_[i_] != L'/' && s_[i_] != L'<') ++i_;
    return LowerCase(s_.substr(start, i_ - start));
  }

  // Reads attributes up to and including '>'; true when the tag ends in "/>".
  bool Attributes(std::vector<Attribute>& attributes) {
    for (;;) {
      while (i_ < s_.size() && (IsSpace(s_[i_]) || (s_[i_] == L'/' && !EndsSelfClosing()))) ++i_;
      if (i_ >= s_.size()) return false;
      if (s_[i_] == L'>') {
        ++i_;
        return false;
      }
      if (EndsSelfClosing()) {
        i_ += 2;
        return true;
      }
      if (s_[i_] == L'<') return false;  // a tag left open: the next one starts here
      size_t start = i_;
      while (i_ < s_.size() && !IsSpace(s_[i_]) && s_[i_] != L'>' && s_[i_] != L'=' && s_[i_] != L'<' &&
             !EndsSelfClosing())
        ++i_;
      if (i_ == start) ++i_;  // a stray '=': skip it
      Attribute attribute;
      attribute.name = LowerCase(s_.substr(start, i_ - start));
      size_t afterName = i_;
      while (i_ < s_.size() && IsSpace(s_[i_])) ++i_;
      if (i_ < s_.size() && s_[i_] == L'=') {
        ++i_;
        while (i_ < s_.size() && IsSpace(s_[i_])) ++i_;
        attribute.value = Unescape(Value());
      } else {
        i_ = afterName;
      }
      bool known = false;
      for (auto& existing : attributes) known = known || existing.name == attribute.name;
      if (!attribute.name.empty() && attribute.name != L"=" && !known) attributes.push_back(std::move(attribute));
    }
  }

  bool EndsSelfClosing() const { return s_[i_] == L'/' && i_ + 1 < s_.size() && s_[i_ + 1] == L'>'; }

  std::wstring Value() {
    if (i_ >= s_.size()) return std::wstring();
    wchar_t quote = s_[i_];
    if (quote == L'"' || quote == L'\'') {
      size_t end = s_.find(quote, i_ + 1);
      if (end == std::wstring::npos) end = s_.size();
      std::wstring value = s_.substr(i_ + 1, end - i_ - 1);
      i_ = std::min(end + 1, s_.size());
      return value;
    }
    size_t start = i_;
    while (i_ < s_.size() && !IsSpace(s_[i_]) && s_[i_] != L'>') {
      if (EndsSelfClosing() && i_ > start) break;
      ++i_;
    }
    return s_.substr(start, i_ - start);
  }

  // What the loader and the style engine need to know about.
  void Note(Element* element) {
    if (element->tag == L"style") {
      StyleSource style;
      style.text = InnerText(element);
      if (auto media = element->Attribute(L"media")) style.media = *media;
      style.loaded = true;
      style.element = element->uid;
      document_.styles.push_back(std::move(style));
    } else if (element->tag == L"link") {
      auto rel = element->Attribute(L"rel");
      auto href = element->Attribute(L"href");
      if (rel && href && LowerCase(*rel).find(L"stylesheet") != std::wstring::npos && !href->empty()) {
        StyleSource style;
        style.href = *href;
        if (auto media = element->Attribute(L"media")) style.media = *media;
        style.element = element->uid;
        document_.styles.push_back(std::move(style));
      }
    } else if (element->tag == L"img") {
      auto src = element->Attribute(L"src");
      if (src && !src->empty()) {
        ImageSource image;
        image.src = *src;
        image.element = element->uid;
        document_.images.push_back(std::move(image));
      }
    }
  }

  const std::wstring& s_;
  size_t i_ = 0;
  TreeBuilder& builder_;
  Document& document_;
};

}  // namespace

bool IsVoidElement(const std::wstring& tag) {
  return OneOf(tag, {L"area", L"base", L"br", L"col", L"embed", L"hr", L"img", L"input", L"link", L"meta", L"param",
                     L"source", L"track", L"wbr", L"frame", L"basefont", L"keygen"});
}

bool IsRawTextElement(const std::wstring& tag) {
  return OneOf(tag, {L"style", L"script", L"textarea", L"title", L"xmp", L"plaintext"});
}

std::wstring DecodePage(const unsigned char* bytes, size_t count) {
  if (count >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
    std::wstring text;
    for (size_t i = 2; i + 1 < count; i += 2) text += static_cast<wchar_t>(bytes[i] | (bytes[i + 1] << 8));
    return text;
  }
  if (count >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
    bytes += 3;
    count -= 3;
  }
  if (count == 0) return std::wstring();
  int size = count > 0x7FFFFFFF ? 0 : static_cast<int>(count);
  int length = MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(bytes), size, nullptr, 0);
  std::wstring text(static_cast<size_t>(length), L'\0');
  if (length > 0) MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(bytes), size, &text[0], length);
  return text;
}

std::unique_ptr<Document> ParseHtml(const std::wstring& text) {
  auto document = std::make_unique<Document>();
  TreeBuilder builder(*document);
  Tokenizer(text, builder, *document).Run();
  return document;
}

std::unique_ptr<Document> ParseHtml(const unsigned char* bytes, size_t count) {
  return ParseHtml(DecodePage(bytes, count));
}

}  // namespace hl
