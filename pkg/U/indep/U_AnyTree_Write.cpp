// A tree as JSON. The type of a value is carried by the form of its text alone, so nothing is written that
// would not be read back as the same type, with the exceptions that the guide lists.
#include "U_AnyTree.h"
#include "Up_Any.h"
#include "zvkcore/string/Convert.h"

namespace {

using zvkcore::string::literals::operator""_u16;

// The writer's state for one node. It is the visitor of the node's children and goes down by itself, so
// for_each never does.
namespace ForEach_CopyToJSON {

class Data {
  public:
    Data(U_UTF16String& text, bool isArray, int depth) : m_text(text), m_isArray(isArray), m_depth(depth) {}

    void StartDict()
    {
        m_text.push_back(m_isArray ? '[' : '{');
        m_isFirst = true;
    }

    bool operator()(int, const U_UTF16String& key, const U_Any& value, const U_AnyTreeWrapper& child)
    {
        if (!m_isFirst) m_text.push_back(',');
        m_isFirst = false;
        if (!m_isArray) WriteKey(key);
        if (value.GetType() != U_Any::Type_TREE) {
            m_text.append(value.GetAs_JSON());
            return false;
        }
        if (m_depth == U_AnyTreeWrapper::kMaxDepth) throw boost::bad_any_cast();  // no reader would take it
        if (child.empty()) {
            m_text.append(u"{}"_u16);  // also where it was an array: nothing tells them apart
        } else {
            WriteTree(m_text, child, child.is_array(), m_depth + 1);
        }
        return false;
    }

    void EndDict() { m_text.push_back(m_isArray ? ']' : '}'); }

    static void WriteTree(U_UTF16String& text, const U_AnyTreeWrapper& tree, bool isArray, int depth)
    {
        Data data(text, isArray, depth);
        data.StartDict();
        tree.for_each(boost::ref(data));
        data.EndDict();
    }

  private:
    // Wanted: a key is a string value like any other, so one that begins with "mixed-" and is no magic word
    // throws. Only an "m" can begin such a key; the others need no value.
    void WriteKey(const U_UTF16String& key)
    {
        if (!key.empty() && key.front() == 'm') {
            m_text.append(U_Any(key).GetAs_JSON());
        } else {
            Up_AppendEnquoted(m_text, key);
        }
        m_text.push_back(':');
    }

    U_UTF16String& m_text;
    bool m_isArray;
    bool m_isFirst = true;
    int m_depth;
};

}  // namespace ForEach_CopyToJSON
}  // namespace

U_UTF16String U_AnyTreeWrapper::GetAs_JSON() const
{
    U_UTF16String text;
    ForEach_CopyToJSON::Data::WriteTree(text, *this, false, 1);
    return text;
}

U_UTF8String U_AnyTreeWrapper::GetAs_JSON8() const
{
    return zvkcore::string::UTF16to8(GetAs_JSON());
}
