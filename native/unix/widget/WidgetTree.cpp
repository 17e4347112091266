// Exported functions of com.talvern.test.gx.application.WidgetTree, and what the toolkits have in common.
#include "WidgetTree.h"

#include "JniEntry.h"
#include "ValueBlock.h"
#include "com_talvern_test_gx_application_WidgetTree.h"
#include "gtkfuncs.h"

#include <algorithm>
#include <iterator>

namespace {
/// Writes a tree in the order in which com.talvern.test.gx.engine.WidgetView takes it.
class CTreeWriter {
public:
    void write(const std::vector<CWidgetNode>& nodes)
    {
        m_out.add(static_cast<int64_t>(nodes.size()));
        for (const CWidgetNode& node : nodes)
            write(node);
    }
    const std::vector<uint8_t>& bytes() const { return m_out.bytes(); }

private:
    void write(const CWidgetNode& node);
    void writeRows(const CWidgetNode& node);
    void writeTexts(const std::vector<std::string>& texts);
    void writeText(std::string_view text) { m_whole = m_out.add(text) && m_whole; }

    CValueBlock m_out{CTreeLimits::characters, CTreeLimits::allTexts};
    bool m_whole = true; ///< no text of the widget that is being written was cut
};

void CTreeWriter::writeTexts(const std::vector<std::string>& texts)
{
    m_out.add(static_cast<int64_t>(texts.size()));
    for (const std::string& text : texts)
        writeText(text);
}

void CTreeWriter::writeRows(const CWidgetNode& node)
{
    m_out.add(static_cast<int64_t>(node.rowCount));
    writeTexts(node.columns);
    m_out.add(static_cast<int64_t>(node.rows.size()));
    for (const CWidgetRow& row : node.rows) {
        writeText(row.path);
        m_out.add(row.selected);
        m_out.add(row.box);
        writeTexts(row.cells);
        for (const Rect& box : row.boxes)
            m_out.add(box);
    }
}

void CTreeWriter::write(const CWidgetNode& node)
{
    m_whole = !node.textCut;
    for (const std::string_view text :
         {std::string_view(node.className), std::string_view(node.role), std::string_view(node.name),
          std::string_view(node.text), std::string_view(node.label), std::string_view(node.tip)})
        writeText(text);
    m_out.add(node.value);
    m_out.add(node.checked);
    m_out.add(node.box);
    m_out.add(static_cast<int64_t>(node.window));
    m_out.add(static_cast<int64_t>(node.id));
    writeRows(node);
    for (const bool fact : {node.enabled, node.showing, node.focused, node.editable, node.secret,
                            node.selected, !m_whole, node.childrenCut})
        m_out.add(fact);
    write(node.children);
}

jbyteArray newBytes(JNIEnv* env, const std::vector<uint8_t>& bytes)
{
    const auto size = static_cast<jsize>(bytes.size());
    const jbyteArray array = env->NewByteArray(size);
    if (array)
        env->SetByteArrayRegion(array, 0, size, reinterpret_cast<const jbyte*>(bytes.data()));
    return array;
}

/// Roles of widgets that do or tell something by themselves.
bool isOnItsOwn(const CWidgetNode& node)
{
    constexpr std::string_view looks[] = {"LABEL", "IMAGE", "CONTAINER", "OTHER"};
    return std::find(std::begin(looks), std::end(looks), node.role) == std::end(looks) ||
           std::any_of(node.children.begin(), node.children.end(), isOnItsOwn);
}
} // namespace

const IWidgetToolkit& IWidgetToolkit::current()
{
    return isGTK2() || isGTK3() ? gtkWidgets() : motifWidgets();
}

void dropDecoration(CWidgetNode& node)
{
    if (std::none_of(node.children.begin(), node.children.end(), isOnItsOwn))
        node.children.clear();
}

std::string firstText(const CWidgetNode& node)
{
    if (!node.text.empty())
        return node.text;
    for (const CWidgetNode& child : node.children)
        if (std::string text = child.showing || !node.showing ? firstText(child) : ""; !text.empty())
            return text;
    return {};
}

#define WIDGET_TREE(Result, method, ...)                                                                     \
    extern "C" JNIEXPORT Result JNICALL Java_com_talvern_test_gx_application_WidgetTree_##method(            \
        JNIEnv* env, jclass __VA_OPT__(, ) __VA_ARGS__)

WIDGET_TREE(jbyteArray, windows)
{
    return jniEntry(env, __func__, [&] {
        CTreeWriter writer;
        writer.write(IWidgetToolkit::current().windows());
        return newBytes(env, writer.bytes());
    });
}

WIDGET_TREE(jlongArray, at, jint x, jint y)
{
    return jniEntry(env, __func__, [&] {
        const std::vector<unsigned long> found = IWidgetToolkit::current().at(Point(x, y));
        const std::vector<jlong> ids(found.begin(), found.end());
        const auto size = static_cast<jsize>(ids.size());
        const jlongArray array = env->NewLongArray(size);
        if (array)
            env->SetLongArrayRegion(array, 0, size, ids.data());
        return array;
    });
}

WIDGET_TREE(jboolean, reveal, jlong id)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        return IWidgetToolkit::current().reveal(static_cast<unsigned long>(id));
    });
}
