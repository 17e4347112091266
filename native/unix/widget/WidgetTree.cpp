// Exported functions of com.talvern.test.gx.application.WidgetTree, and what the toolkits have in common.
#include "unix/widget/WidgetTree.h"

#include "com_talvern_test_gx_application_WidgetTree.h"
#include "common/jni/JniEntry.h"
#include "unix/widget/ValueBlock.h"
#include "unix/widget/WidgetFacts.h"
#include "unix/window/gtkfuncs.h"

#include <algorithm>
#include <iterator>

namespace {
/// Writes what Java takes, in its order.
class CTreeWriter {
public:
    void write(const std::vector<CWidgetNode>& nodes)
    {
        m_out.add(static_cast<int64_t>(nodes.size()));
        for (const CWidgetNode& node : nodes)
            write(node);
    }
    const std::vector<uint8_t>& bytes() const { return m_out.bytes(); }

    void write(const std::vector<CWidgetRow>& rows);
    void write(const std::vector<CFileDialog>& dialogs);
    void write(const std::vector<std::vector<std::string>>& rows);
    void write(const std::optional<CScrollBar>& bar);

private:
    void write(const CWidgetNode& node);
    void writeTexts(const std::vector<std::string>& texts);
    void add(const std::optional<Rect>& box);
    void writeText(std::string_view text) { m_whole = m_out.add(text) && m_whole; }

    CValueBlock m_out{CTreeLimits::characters, CTreeLimits::allTexts};
    bool m_whole = true; ///< no text of the widget that is being written was cut
};

void CTreeWriter::add(const std::optional<Rect>& box)
{
    m_out.add(box.has_value());
    if (box)
        m_out.add(*box);
}

void CTreeWriter::writeTexts(const std::vector<std::string>& texts)
{
    m_out.add(static_cast<int64_t>(texts.size()));
    for (const std::string& text : texts)
        writeText(text);
}

void CTreeWriter::write(const std::vector<CWidgetRow>& rows)
{
    m_out.add(static_cast<int64_t>(rows.size()));
    for (const CWidgetRow& row : rows) {
        writeText(row.path);
        m_out.add(row.selected);
        m_out.add(row.box);
        m_out.add(static_cast<int64_t>(row.cells.size()));
        for (const CWidgetCell& cell : row.cells) {
            writeText(cell.text);
            m_out.add(cell.checked);
            m_out.add(cell.box);
        }
        m_out.add(row.open);
        add(row.expander);
    }
}

void CTreeWriter::write(const std::vector<CFileDialog>& dialogs)
{
    m_out.add(static_cast<int64_t>(dialogs.size()));
    for (const CFileDialog& dialog : dialogs) {
        m_out.add(static_cast<int64_t>(dialog.window));
        writeText(dialog.caption);
        for (const Rect& box : {dialog.ok, dialog.cancel, dialog.file})
            m_out.add(box);
        m_out.add(dialog.ready);
        m_out.add(dialog.enabled);
        m_out.add(static_cast<int64_t>(dialog.okId));
    }
}

void CTreeWriter::write(const std::vector<std::vector<std::string>>& rows)
{
    m_out.add(static_cast<int64_t>(rows.size()));
    for (const std::vector<std::string>& cells : rows)
        writeTexts(cells);
}

void CTreeWriter::write(const std::optional<CScrollBar>& bar)
{
    m_out.add(bar.has_value());
    if (!bar)
        return;
    m_out.add(bar->thumb);
    m_out.add(bar->way);
    m_out.add(std::optional(bar->least));
    m_out.add(std::optional(bar->most));
    m_out.add(bar->fromFarEnd);
}

void CTreeWriter::write(const CWidgetNode& node)
{
    m_whole = !node.textCut;
#define GX_WRITE(component, statement) statement;
    GX_WIDGET_FACTS(GX_WRITE)
#undef GX_WRITE
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

bool saysOther(const CWidgetNode& node, const std::string& text)
{
    return (node.showing && !node.text.empty() && node.text != text) ||
           std::any_of(node.children.begin(), node.children.end(),
                       [&](const CWidgetNode& child) { return saysOther(child, text); });
}
} // namespace

const IWidgetToolkit& IWidgetToolkit::current()
{
    return isGTK2or3() ? gtkWidgets() : motifWidgets();
}

void dropDecoration(CWidgetNode& node)
{
    const bool saysMore = std::any_of(node.children.begin(), node.children.end(),
                                      [&](const CWidgetNode& child) { return saysOther(child, node.text); });
    if (!saysMore && std::none_of(node.children.begin(), node.children.end(), isOnItsOwn))
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

namespace {
/// What a question answers to the toolkit of this process.
template <class Question> auto asked(Question question)
{
    const IWidgetToolkit& toolkit = IWidgetToolkit::current();
    decltype(question(toolkit)) answer{};
    toolkit.hold([&] { answer = question(toolkit); });
    return answer;
}

template <class Items> jbyteArray written(JNIEnv* env, const Items& items)
{
    CTreeWriter writer;
    writer.write(items);
    return newBytes(env, writer.bytes());
}
} // namespace

GX_JNI(jbyteArray, Java_com_talvern_test_gx_application_WidgetTree_windows, jclass)
{
    return jniEntry(env, __func__, [&] {
        return written(env, asked([](const IWidgetToolkit& toolkit) { return toolkit.windows(); }));
    });
}

namespace {
/// What a question about some rows of a widget answers.
template <class Question>
jbyteArray writtenRows(JNIEnv* env, Question question, jlong id, jint first, jint count)
{
    return written(env, asked([=](const IWidgetToolkit& toolkit) {
                       return (toolkit.*question)(static_cast<unsigned long>(id),
                                                  static_cast<size_t>(std::max(first, 0)),
                                                  static_cast<size_t>(std::max(count, 0)));
                   }));
}
} // namespace

GX_JNI(jbyteArray, Java_com_talvern_test_gx_application_WidgetTree_rows, jclass, jlong id, jint first,
       jint count)
{
    return jniEntry(env, __func__, [&] { return writtenRows(env, &IWidgetToolkit::rows, id, first, count); });
}

GX_JNI(jbyteArray, Java_com_talvern_test_gx_application_WidgetTree_texts, jclass, jlong id, jint first,
       jint count)
{
    return jniEntry(env, __func__,
                    [&] { return writtenRows(env, &IWidgetToolkit::texts, id, first, count); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_application_WidgetTree_revealRow, jclass, jlong id, jstring path,
       jint column)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        return path && asked([&](const IWidgetToolkit& toolkit) {
                   return toolkit.revealRow(static_cast<unsigned long>(id), CJString(env, path).ansiString(),
                                            column);
               });
    });
}

GX_JNI(jbyteArray, Java_com_talvern_test_gx_application_WidgetTree_scrollBar, jclass, jlong id)
{
    return jniEntry(env, __func__, [&] {
        return written(env, asked([=](const IWidgetToolkit& toolkit) {
                           return toolkit.scrollBar(static_cast<unsigned long>(id));
                       }));
    });
}

GX_JNI(jbyteArray, Java_com_talvern_test_gx_application_WidgetTree_fileDialogs, jclass)
{
    return jniEntry(env, __func__, [&] {
        return written(env, asked([](const IWidgetToolkit& toolkit) { return toolkit.fileDialogs(); }));
    });
}

GX_JNI(void, Java_com_talvern_test_gx_application_WidgetTree_setFile, jclass, jlong window, jstring file)
{
    jniEntry(env, __func__, [&] {
        const CJString name(env, file);
        const IWidgetToolkit& toolkit = IWidgetToolkit::current();
        toolkit.hold([&] { toolkit.setFile(static_cast<unsigned long>(window), name); });
    });
}

GX_JNI(jlongArray, Java_com_talvern_test_gx_application_WidgetTree_at, jclass, jint x, jint y)
{
    return jniEntry(env, __func__, [&] {
        const auto found = asked([=](const IWidgetToolkit& toolkit) { return toolkit.at(Point(x, y)); });
        const std::vector<jlong> ids(found.begin(), found.end());
        const auto size = static_cast<jsize>(ids.size());
        const jlongArray array = env->NewLongArray(size);
        if (array)
            env->SetLongArrayRegion(array, 0, size, ids.data());
        return array;
    });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_application_WidgetTree_reveal, jclass, jlong id)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        return asked(
            [=](const IWidgetToolkit& toolkit) { return toolkit.reveal(static_cast<unsigned long>(id)); });
    });
}
