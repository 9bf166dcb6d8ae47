/* htmlayout.h: the C interface of our htmlayout.dll, declared from the
 * library's published names, argument lists and constants, so that hosts built
 * against the published SDK call into this DLL unchanged.
 *
 * x64 has one calling convention: HLAPI names __stdcall only for readers who
 * know the published headers; the compiler ignores it there. Every function is
 * exported undecorated through htmlayout.def.
 *
 * Strings the library hands out (attribute values, tag names, inner text) stay
 * valid until the same thread has made 16 more such calls; copy them to keep them.
 */
#ifndef HTMLAYOUT_STANDIN_H
#define HTMLAYOUT_STANDIN_H

#include <windows.h>

#ifdef __cplusplus
#define HL_EXTERN_C extern "C"
#else
#define HL_EXTERN_C extern
#endif

#define HLAPI __stdcall

#ifndef _LPCBYTE_DEFINED
#define _LPCBYTE_DEFINED
typedef const BYTE* LPCBYTE;
#endif

/* ---- DOM results and handles ---- */
typedef int HLDOM_RESULT;
#define HLDOM_OK 0
#define HLDOM_INVALID_HWND 1
#define HLDOM_INVALID_HANDLE 2
#define HLDOM_PASSIVE_HANDLE 3
#define HLDOM_INVALID_PARAMETER 4
#define HLDOM_OPERATION_FAILED 5
#define HLDOM_OK_NOT_HANDLED (-1)

struct htmlayout_dom_element;
typedef struct htmlayout_dom_element* HELEMENT;

/* ---- Values (json::value of the published headers) ---- */
typedef struct {
  UINT t;
  UINT u;
  UINT64 d;
} VALUE;

enum VALUE_RESULT { HV_OK_TRUE = -1, HV_OK = 0, HV_BAD_PARAMETER = 1, HV_INCOMPATIBLE_TYPE = 2 };
enum VALUE_TYPE {
  T_UNDEFINED = 0, T_NULL = 1, T_BOOL, T_INT, T_FLOAT, T_STRING, T_DATE, T_CURRENCY, T_LENGTH,
  T_ARRAY, T_MAP, T_FUNCTION, T_BYTES, T_OBJECT, T_DOM_OBJECT
};

HL_EXTERN_C UINT HLAPI ValueInit(VALUE* pval);
HL_EXTERN_C UINT HLAPI ValueClear(VALUE* pval);
HL_EXTERN_C UINT HLAPI ValueCompare(const VALUE* pval1, const VALUE* pval2);
HL_EXTERN_C UINT HLAPI ValueCopy(VALUE* pdst, const VALUE* psrc);
HL_EXTERN_C UINT HLAPI ValueType(const VALUE* pval, UINT* pType, UINT* pUnits);
HL_EXTERN_C UINT HLAPI ValueStringData(const VALUE* pval, LPCWSTR* pChars, UINT* pNumChars);
HL_EXTERN_C UINT HLAPI ValueStringDataSet(VALUE* pval, LPCWSTR chars, UINT numChars, UINT units);
HL_EXTERN_C UINT HLAPI ValueIntData(const VALUE* pval, INT* pData);
HL_EXTERN_C UINT HLAPI ValueIntDataSet(VALUE* pval, INT data, UINT type, UINT units);

/* ---- Notifications ---- */
#define HLN_CREATE_CONTROL 0xB00
#define HLN_LOAD_DATA 0xB01
#define HLN_CONTROL_CREATED 0xB02
#define HLN_DATA_LOADED 0xB03
#define HLN_DOCUMENT_COMPLETE 0xB04
#define HLN_UPDATE_UI 0xB05
#define HLN_DESTROY_CONTROL 0xB06
#define HLN_ATTACH_BEHAVIOR 0xB07
#define HLN_BEHAVIOR_CHANGED 0xB08
#define HLN_DIALOG_CREATED 0xB0F
#define HLN_DIALOG_CLOSE_RQ 0xB09
#define HLN_DOCUMENT_LOADED 0xB0A

/* Answers to HLN_LOAD_DATA. */
#define LOAD_OK 0
#define LOAD_DISCARD 1

enum HTMLayoutResourceType {
  HLRT_DATA_HTML = 0,
  HLRT_DATA_IMAGE = 1,
  HLRT_DATA_STYLE = 2,
  HLRT_DATA_CURSOR = 3,
  HLRT_DATA_SCRIPT = 4
};

typedef LRESULT CALLBACK HTMLAYOUT_NOTIFY(UINT uMsg, WPARAM wParam, LPARAM lParam, LPVOID vParam);
typedef HTMLAYOUT_NOTIFY* LPHTMLAYOUT_NOTIFY;

typedef BOOL CALLBACK ElementEventProc(LPVOID tag, HELEMENT he, UINT evtg, LPVOID prms);
typedef ElementEventProc* LPELEMENT_EVENT_PROC;

typedef struct tagNMHL_LOAD_DATA {
  NMHDR hdr;
  LPCWSTR uri;         /* [in] the resource's full URL */
  LPVOID outData;      /* [out] the host's bytes, copied before the callback returns */
  DWORD outDataSize;   /* [out] */
  UINT dataType;       /* [in] HTMLayoutResourceType */
  HELEMENT principal;  /* [in] the element that asks for it */
  HELEMENT initiator;
} NMHL_LOAD_DATA, *LPNMHL_LOAD_DATA;

typedef struct tagNMHL_DATA_LOADED {
  NMHDR hdr;
  LPCWSTR uri;
  LPCBYTE data;
  DWORD dataSize;
  UINT dataType;
  UINT status;
} NMHL_DATA_LOADED, *LPNMHL_DATA_LOADED;

typedef struct tagNMHL_ATTACH_BEHAVIOR {
  NMHDR hdr;
  HELEMENT element;
  LPCSTR behaviorName;
  ElementEventProc* elementProc;  /* [out] */
  LPVOID elementTag;              /* [out] */
  UINT elementEvents;             /* [out] EVENT_GROUPS bits */
} NMHL_ATTACH_BEHAVIOR, *LPNMHL_ATTACH_BEHAVIOR;

/* ---- Events ---- */
enum EVENT_GROUPS {
  HANDLE_INITIALIZATION = 0x0000, HANDLE_MOUSE = 0x0001, HANDLE_KEY = 0x0002, HANDLE_FOCUS = 0x0004,
  HANDLE_SCROLL = 0x0008, HANDLE_TIMER = 0x0010, HANDLE_SIZE = 0x0020, HANDLE_DRAW = 0x0040,
  HANDLE_DATA_ARRIVED = 0x0080, HANDLE_BEHAVIOR_EVENT = 0x0100, HANDLE_METHOD_CALL = 0x0200,
  HANDLE_EXCHANGE = 0x1000, HANDLE_GESTURE = 0x2000, HANDLE_ALL = 0xFFFF,
  DISABLE_INITIALIZATION = 0x80000000
};
/* The phase is marked in the event's code: bubbling has no mark. */
enum PHASE_MASK { BUBBLING = 0, SINKING = 0x8000, HANDLED = 0x10000 };
enum MOUSE_BUTTONS { MAIN_MOUSE_BUTTON = 1, PROP_MOUSE_BUTTON = 2, MIDDLE_MOUSE_BUTTON = 4 };
enum KEYBOARD_STATES { CONTROL_KEY_PRESSED = 0x1, SHIFT_KEY_PRESSED = 0x2, ALT_KEY_PRESSED = 0x4 };
enum INITIALIZATION_EVENTS { BEHAVIOR_DETACH = 0, BEHAVIOR_ATTACH = 1 };
enum MOUSE_EVENTS {
  MOUSE_ENTER = 0, MOUSE_LEAVE, MOUSE_MOVE, MOUSE_UP, MOUSE_DOWN, MOUSE_DCLICK, MOUSE_WHEEL, MOUSE_TICK,
  MOUSE_IDLE, DROP = 9, DRAG_ENTER = 0xA, DRAG_LEAVE = 0xB, DRAG_REQUEST = 0xC, MOUSE_CLICK = 0xFF,
  DRAGGING = 0x100
};
enum KEY_EVENTS { KEY_DOWN = 0, KEY_UP, KEY_CHAR };
enum FOCUS_EVENTS { FOCUS_LOST = 0, FOCUS_GOT = 1 };
enum BEHAVIOR_EVENTS {
  BUTTON_CLICK = 0, BUTTON_PRESS = 1, BUTTON_STATE_CHANGED = 2, EDIT_VALUE_CHANGING = 3, EDIT_VALUE_CHANGED = 4,
  SELECT_SELECTION_CHANGED = 5, SELECT_STATE_CHANGED = 6, POPUP_REQUEST = 7, POPUP_READY = 8,
  POPUP_DISMISSED = 9, MENU_ITEM_ACTIVE = 0xA, MENU_ITEM_CLICK = 0xB, HYPERLINK_CLICK = 0x80,
  FIRST_APPLICATION_EVENT_CODE = 0x100
};
enum EVENT_REASON { BY_MOUSE_CLICK = 0, BY_KEY_CLICK = 1, SYNTHESIZED = 2 };
enum EDIT_CHANGED_REASON { BY_INS_CHAR = 3, BY_INS_CHARS = 4, BY_DEL_CHAR = 5, BY_DEL_CHARS = 6 };

typedef struct { UINT cmd; } INITIALIZATION_PARAMS;
typedef struct {
  UINT cmd;              /* MOUSE_EVENTS | phase */
  HELEMENT target;       /* the element under the mouse */
  POINT pos;             /* relative to the element the handler is attached to */
  POINT pos_document;    /* relative to the document's root */
  UINT button_state;     /* MOUSE_BUTTONS */
  UINT alt_state;        /* KEYBOARD_STATES */
  UINT cursor_type;
  BOOL is_on_icon;
  HELEMENT dragging;
  UINT dragging_mode;
} MOUSE_PARAMS;
typedef struct {
  UINT cmd;              /* KEY_EVENTS | phase */
  HELEMENT target;
  UINT key_code;         /* virtual key; the character for KEY_CHAR */
  UINT alt_state;
} KEY_PARAMS;
typedef struct {
  UINT cmd;              /* FOCUS_EVENTS | phase */
  HELEMENT target;       /* the new focus for FOCUS_LOST, the old one for FOCUS_GOT */
  BOOL by_mouse_click;
  BOOL cancel;
} FOCUS_PARAMS;
typedef struct {
  UINT cmd;              /* BEHAVIOR_EVENTS | phase */
  HELEMENT heTarget;     /* the control the event is about */
  HELEMENT he;           /* its source: the picked <option> for SELECT_SELECTION_CHANGED */
  UINT_PTR reason;       /* EVENT_REASON, EDIT_CHANGED_REASON */
  VALUE data;
} BEHAVIOR_EVENT_PARAMS;

HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutAttachEventHandler(HELEMENT he, LPELEMENT_EVENT_PROC pep, LPVOID tag);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutAttachEventHandlerEx(HELEMENT he, LPELEMENT_EVENT_PROC pep, LPVOID tag,
                                                             UINT subscription);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutDetachEventHandler(HELEMENT he, LPELEMENT_EVENT_PROC pep, LPVOID tag);
/* Sends a behaviour event to he (sinking and bubbling), at once; *handled: a handler stopped it. */
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutSendEvent(HELEMENT he, UINT appEventCode, HELEMENT heSource, UINT_PTR reason,
                                                  BOOL* handled);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetFocusElement(HWND hwnd, HELEMENT* phe);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutControlGetValue(HELEMENT he, VALUE* pVal);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutControlSetValue(HELEMENT he, const VALUE* pVal);

/* ---- Options ---- */
enum HTMLAYOUT_OPTIONS {
  HTMLAYOUT_SMOOTH_SCROLL = 1,
  HTMLAYOUT_CONNECTION_TIMEOUT = 2,
  HTMLAYOUT_HTTPS_ERROR = 3,
  HTMLAYOUT_FONT_SMOOTHING = 4,
  HTMLAYOUT_ANIMATION_THREAD = 5,
  HTMLAYOUT_TRANSPARENT_WINDOW = 6
};

/* ---- Element state, areas, updates ---- */
enum ELEMENT_STATE_BITS {
  STATE_LINK = 0x00000001,
  STATE_HOVER = 0x00000002,
  STATE_ACTIVE = 0x00000004,
  STATE_FOCUS = 0x00000008,
  STATE_VISITED = 0x00000010,
  STATE_CURRENT = 0x00000020,
  STATE_CHECKED = 0x00000040,
  STATE_DISABLED = 0x00000080,
  STATE_READONLY = 0x00000100,
  STATE_EXPANDED = 0x00000200,
  STATE_COLLAPSED = 0x00000400,
  STATE_INCOMPLETE = 0x00000800,
  STATE_ANIMATING = 0x00001000,
  STATE_FOCUSABLE = 0x00002000,
  STATE_ANCHOR = 0x00004000,
  STATE_SYNTHETIC = 0x00008000,
  STATE_OWNS_POPUP = 0x00010000,
  STATE_TABFOCUS = 0x00020000,
  STATE_EMPTY = 0x00040000,
  STATE_BUSY = 0x00080000,
  STATE_DRAG_OVER = 0x00100000,
  STATE_DROP_TARGET = 0x00200000,
  STATE_MOVING = 0x00400000,
  STATE_COPYING = 0x00800000,
  STATE_DRAG_SOURCE = 0x01000000,
  STATE_DROP_MARKER = 0x02000000,
  STATE_PRESSED = 0x04000000,
  STATE_POPUP = 0x08000000,
  STATE_IS_LTR = 0x10000000,
  STATE_IS_RTL = 0x20000000
};

enum ELEMENT_AREAS {
  ROOT_RELATIVE = 0x01,
  SELF_RELATIVE = 0x02,
  CONTAINER_RELATIVE = 0x03,
  VIEW_RELATIVE = 0x04,
  CONTENT_BOX = 0x00,
  PADDING_BOX = 0x10,
  BORDER_BOX = 0x20,
  MARGIN_BOX = 0x30,
  BACK_IMAGE_AREA = 0x40,
  FORE_IMAGE_AREA = 0x50,
  SCROLLABLE_AREA = 0x60
};

enum UPDATE_ELEMENT_FLAGS {
  RESET_STYLE_THIS = 0x20,
  RESET_STYLE_DEEP = 0x10,
  MEASURE_INPLACE = 0x0001,
  MEASURE_DEEP = 0x0002,
  REDRAW_NOW = 0x8000
};

/* ---- Callbacks ---- */
/* Return TRUE to stop the enumeration. */
typedef BOOL CALLBACK HTMLayoutElementCallback(HELEMENT he, LPVOID param);
typedef void CALLBACK HTMLayoutWriterCallbackB(LPCBYTE utf8, UINT utf8_length, LPVOID param);
typedef void CALLBACK HTMLayoutWriterCallbackW(LPCWSTR text, UINT text_length, LPVOID param);

/* Resources of the page (style sheets, then images, in document order);
 * resourceType "style" or "image". Return FALSE to stop. */
typedef BOOL CALLBACK HTMLAYOUT_CALLBACK_RES_EX(LPCWSTR resourceUri, LPCSTR resourceType, LPCBYTE imageData,
                                               DWORD imageDataSize, LPVOID prm);

/* ---- Window and document ---- */
HL_EXTERN_C BOOL HLAPI HTMLayoutLoadHtml(HWND hWndHTMLayout, LPCBYTE html, UINT htmlSize);
HL_EXTERN_C BOOL HLAPI HTMLayoutLoadHtmlEx(HWND hWndHTMLayout, LPCBYTE html, UINT htmlSize, LPCWSTR baseUrl);
HL_EXTERN_C BOOL HLAPI HTMLayoutDataReady(HWND hwnd, LPCWSTR uri, LPBYTE data, DWORD dataLength);
HL_EXTERN_C UINT HLAPI HTMLayoutEnumResourcesEx(HWND hWndHTMLayout, HTMLAYOUT_CALLBACK_RES_EX* cb, LPVOID cbPrm);
HL_EXTERN_C VOID HLAPI HTMLayoutSetCallback(HWND hWndHTMLayout, LPHTMLAYOUT_NOTIFY cb, LPVOID cbParam);
HL_EXTERN_C BOOL HLAPI HTMLayoutSetOption(HWND hWndHTMLayout, UINT option, UINT value);
HL_EXTERN_C LPCSTR HLAPI HTMLayoutClassNameA(void);
HL_EXTERN_C LPCWSTR HLAPI HTMLayoutClassNameW(void);
HL_EXTERN_C LRESULT HLAPI HTMLayoutProcND(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, BOOL* pbHandled);
HL_EXTERN_C BOOL HLAPI HTMLayoutUpdateWindow(HWND hWndHTMLayout);
HL_EXTERN_C UINT HLAPI HTMLayoutGetMinWidth(HWND hWndHTMLayout);
HL_EXTERN_C UINT HLAPI HTMLayoutGetMinHeight(HWND hWndHTMLayout, UINT width);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutWindowAttachEventHandler(HWND hwndLayout, LPELEMENT_EVENT_PROC pep, LPVOID tag,
                                                                 UINT subscription);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutWindowDetachEventHandler(HWND hwndLayout, LPELEMENT_EVENT_PROC pep, LPVOID tag);

/* ---- Elements ---- */
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayout_UseElement(HELEMENT he);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayout_UnuseElement(HELEMENT he);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetRootElement(HWND hwnd, HELEMENT* phe);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetParentElement(HELEMENT he, HELEMENT* p_parent_he);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetChildrenCount(HELEMENT he, UINT* count);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetNthChild(HELEMENT he, UINT n, HELEMENT* phe);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementIndex(HELEMENT he, LPUINT p_index);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementType(HELEMENT he, LPCSTR* p_type);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementUID(HELEMENT he, UINT* puid);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementByUID(HWND hwnd, UINT uid, HELEMENT* phe);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementHwnd(HELEMENT he, HWND* p_hwnd, BOOL rootWindow);

HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetAttributeCount(HELEMENT he, LPUINT p_count);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetNthAttribute(HELEMENT he, UINT n, LPCSTR* p_name, LPCWSTR* p_value);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetAttributeByName(HELEMENT he, LPCSTR name, LPCWSTR* p_value);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutSetAttributeByName(HELEMENT he, LPCSTR name, LPCWSTR value);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutClearAttributes(HELEMENT he);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetStyleAttribute(HELEMENT he, LPCSTR name, LPCWSTR* p_value);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutSetStyleAttribute(HELEMENT he, LPCSTR name, LPCWSTR value);

HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementInnerText16(HELEMENT he, LPWSTR* utf16words);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutSetElementInnerText16(HELEMENT he, LPCWSTR utf16words, UINT length);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementInnerTextCB(HELEMENT he, HTMLayoutWriterCallbackW* cb, VOID* cb_param);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementHtmlCB(HELEMENT he, BOOL outer, HTMLayoutWriterCallbackB* cb,
                                                         VOID* cb_param);

HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementState(HELEMENT he, UINT* pstateBits);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutSetElementState(HELEMENT he, UINT stateBitsToSet, UINT stateBitsToClear,
                                                        BOOL updateView);

HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutCreateElement(LPCSTR tagname, LPCWSTR textOrNull, HELEMENT* phe);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutInsertElement(HELEMENT he, HELEMENT hparent, UINT index);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutDetachElement(HELEMENT he);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutDeleteElement(HELEMENT he);

HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutVisitElements(HELEMENT he, LPCSTR tagName, LPCSTR attributeName,
                                                      LPCWSTR attributeValue, HTMLayoutElementCallback* callback,
                                                      LPVOID param, DWORD depth);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutSelectElements(HELEMENT he, LPCSTR CSS_selectors,
                                                       HTMLayoutElementCallback* callback, LPVOID param);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutSelectElementsW(HELEMENT he, LPCWSTR CSS_selectors,
                                                        HTMLayoutElementCallback* callback, LPVOID param);

HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutUpdateElement(HELEMENT he, BOOL remeasure);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutUpdateElementEx(HELEMENT he, UINT flags);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementLocation(HELEMENT he, LPRECT p_location, UINT areas);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementIntrinsicWidths(HELEMENT he, INT* pMinWidth, INT* pMaxWidth);
HL_EXTERN_C HLDOM_RESULT HLAPI HTMLayoutGetElementIntrinsicHeight(HELEMENT he, INT forWidth, INT* pHeight);

#endif
