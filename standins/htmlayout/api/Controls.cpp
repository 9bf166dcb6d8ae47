#include "standins/htmlayout/api/Controls.h"

#include <string>
#include <vector>

#include "standins/htmlayout/api/Events.h"
#include "standins/htmlayout/api/Views.h"
#include "standins/htmlayout/dom/Lock.h"
#include "standins/htmlayout/include/htmlayout.h"

namespace hl::events {
namespace {

Element* ChildTagged(const Element* parent, const wchar_t* tag) {
  for (const Node& node : parent->children) {
    if (node.element && node.element->tag == tag) return node.element;
  }
  return nullptr;
}

void Options(Element* element, std::vector<Element*>& out) {
  for (Node& node : element->children) {
    if (!node.element) continue;
    if (node.element->tag == L"option") out.push_back(node.element);
    Options(node.element, out);
  }
}

void SetAttribute(Element* element, const std::wstring& name, const std::wstring& value) {
  for (auto& attribute : element->attributes) {
    if (attribute.first == name) {
      attribute.second = value;
      return;
    }
  }
  element->attributes.emplace_back(name, value);
}

// The current option and the caption that shows it. Holds: the select's lock
// and the detached domain (the caption's old content leaves the document).
void MakeCurrent(Element* select, Element* option) {
  Element* popup = ChildTagged(select, L"popup");
  std::vector<Element*> options;
  if (popup) Options(popup, options);
  for (Element* other : options) {
    if (other == option || !(other->state & (kStateCurrent | kStateChecked))) continue;
    other->state &= ~(kStateCurrent | kStateChecked);
    MarkChanged(other, true);
  }
  option->state |= kStateCurrent | kStateChecked;
  MarkChanged(option, true);
  if (Element* caption = ChildTagged(select, L"caption")) {
    SetText(caption, InnerText(option));
    for (const auto& attribute : option->attributes) {
      if (attribute.first == L"id" || attribute.first == L"selected") continue;
      SetAttribute(caption, attribute.first, attribute.second);
    }
    MarkChanged(caption, true);
  }
}

void BuildSelect(Element* select) {
  const std::wstring* size = select->Attribute(L"size");
  if (select->Attribute(L"multiple") || (size && _wtoi(size->c_str()) > 1)) return;  // a list box: left as written
  if (ChildTagged(select, L"popup")) return;
  Element* popup = NewElement(L"popup");
  popup->children.swap(select->children);  // the options and whatever stands between them
  for (Node& node : popup->children) {
    if (node.element) node.element->parent = popup;
  }
  InsertChild(select, NewElement(L"caption"), 0);
  InsertChild(select, NewElement(L"button"), 1);
  InsertChild(select, popup, 2);
  std::vector<Element*> options;
  Options(popup, options);
  Element* current = options.empty() ? nullptr : options.front();
  for (Element* option : options) {
    if (option->Attribute(L"selected")) {
      current = option;
      break;
    }
  }
  if (current) MakeCurrent(select, current);
}

// A text field or an input button shows its value as its text.
void BuildInput(Element* input) {
  const std::wstring* type = input->Attribute(L"type");
  if (type && *type == L"checkbox") {
    if (input->Attribute(L"checked")) input->state |= kStateChecked;
    return;
  }
  if (type && *type == L"hidden") return;
  const std::wstring* value = input->Attribute(L"value");
  if (value && input->children.empty()) AppendText(input, *value);
}

}  // namespace

Control KindOf(Element* element) {
  std::wstring behavior;
  WithElementView(element, [&](ViewAccess& access) {
    if (const css::ComputedStyle* style = access.window.view.Styles().StyleOf(*element)) behavior = style->behavior;
  });
  return ControlOf(*element, behavior);
}

bool Disabled(const Element& element) {
  return (element.state & kStateDisabled) != 0 || element.Attribute(L"disabled");
}

void BuildControls(Document& document) {
  std::vector<Element*> stack{document.root};
  while (!stack.empty()) {
    Element* element = stack.back();
    stack.pop_back();
    if (!element) continue;
    if (element->tag == L"select") {
      BuildSelect(element);
      continue;
    }
    if (element->tag == L"input") BuildInput(element);
    for (Node& node : element->children) {
      if (node.element) stack.push_back(node.element);
    }
  }
}

bool PickOption(Element* select, Element* option) {
  ElementLock lock(select, option, true);
  Element* list = ChildTagged(select, L"popup");
  if (Disabled(*select) || (list && Disabled(*list)) || Disabled(*option)) return false;
  MakeCurrent(select, option);
  return true;
}

}  // namespace hl::events

using namespace hl;
using hl::events::Control;

extern "C" HLDOM_RESULT HLAPI HTMLayoutControlGetValue(HELEMENT he, VALUE* pVal) {
  Element* e = reinterpret_cast<Element*>(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!pVal) return HLDOM_INVALID_PARAMETER;
  Control kind = events::KindOf(e);
  ElementLock lock(e);
  switch (kind) {
    case Control::Check: ValueIntDataSet(pVal, (e->state & kStateChecked) ? 1 : 0, T_BOOL, 0); break;
    case Control::Progress: {
      const std::wstring* value = e->Attribute(L"value");
      ValueIntDataSet(pVal, value ? _wtoi(value->c_str()) : 0, T_INT, 0);
      break;
    }
    case Control::Select: {
      std::vector<Element*> options;
      if (Element* popup = events::ChildTagged(e, L"popup")) events::Options(popup, options);
      std::wstring text;
      for (Element* option : options) {
        if (!(option->state & kStateCurrent)) continue;
        const std::wstring* value = option->Attribute(L"value");
        text = value ? *value : InnerText(option);
      }
      ValueStringDataSet(pVal, text.c_str(), static_cast<UINT>(text.size()), 0);
      break;
    }
    default: {
      std::wstring text = InnerText(e);
      ValueStringDataSet(pVal, text.c_str(), static_cast<UINT>(text.size()), 0);
      break;
    }
  }
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutControlSetValue(HELEMENT he, const VALUE* pVal) {
  Element* e = reinterpret_cast<Element*>(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!pVal) return HLDOM_INVALID_PARAMETER;
  std::wstring text;
  if (pVal->t == T_STRING) {
    LPCWSTR chars = nullptr;
    UINT length = 0;
    ValueStringData(pVal, &chars, &length);
    text.assign(chars ? chars : L"", length);
  } else if (pVal->t == T_INT || pVal->t == T_BOOL) {
    text = std::to_wstring(static_cast<INT>(pVal->d));
  }
  Control kind = events::KindOf(e);
  ElementLock lock(e, nullptr, true);
  switch (kind) {
    case Control::Check: {
      bool checked = pVal->t == T_STRING ? (text == L"true" || text == L"1") : pVal->d != 0;
      uint32_t state = checked ? (e->state | kStateChecked) : (e->state & ~kStateChecked);
      if (state != e->state) {
        e->state = state;
        MarkChanged(e, true);
      }
      break;
    }
    case Control::Progress:
      events::SetAttribute(e, L"value", text);
      MarkChanged(e, false);
      break;
    case Control::Select: {
      std::vector<Element*> options;
      if (Element* popup = events::ChildTagged(e, L"popup")) events::Options(popup, options);
      for (Element* option : options) {
        const std::wstring* value = option->Attribute(L"value");
        if ((value ? *value : InnerText(option)) == text) {
          events::MakeCurrent(e, option);  // set by the host: no event
          break;
        }
      }
      break;
    }
    default: SetText(e, text); break;
  }
  return HLDOM_OK;
}
