/// What Java is told of a widget, and in which order.
#pragma once

/// Each component of the Java record WidgetView, in its order, with the statement of CTreeWriter that writes it.
/// WidgetView takes them by that order, and WidgetFactsTest compares the names. `seen` is not sent: Java works it
/// out.
// clang-format off
#define GX_WIDGET_FACTS(X)                                                                                   \
    X(toolkitClass, writeText(node.className))                                                               \
    X(role,         writeText(node.role))                                                                    \
    X(name,         writeText(node.name))                                                                    \
    X(text,         writeText(node.text))                                                                    \
    X(label,        writeText(node.label))                                                                   \
    X(tip,          writeText(node.tip))                                                                     \
    X(value,        m_out.add(node.value))                                                                   \
    X(checked,      m_out.add(node.checked))                                                                 \
    X(bounds,       m_out.add(node.box))                                                                     \
    X(opener,       add(node.opener))                                                                        \
    X(window,       m_out.add(static_cast<int64_t>(node.window)))                                            \
    X(id,           m_out.add(static_cast<int64_t>(node.id)))                                                \
    X(rowCount,     m_out.add(static_cast<int64_t>(node.rowCount)))                                          \
    X(columns,      writeTexts(node.columns))                                                                \
    X(rows,         write(node.rows))                                                                        \
    X(enabled,      m_out.add(node.enabled))                                                                 \
    X(showing,      m_out.add(node.showing))                                                                 \
    X(focused,      m_out.add(node.focused))                                                                 \
    X(editable,     m_out.add(node.editable))                                                                \
    X(secret,       m_out.add(node.secret))                                                                  \
    X(selected,     m_out.add(node.selected))                                                                \
    X(textCut,      m_out.add(!m_whole))                                                                     \
    X(childrenCut,  m_out.add(node.childrenCut))                                                             \
    X(rowsToggle,   m_out.add(node.rowsToggle))                                                              \
    X(children,     write(node.children))
// clang-format on
