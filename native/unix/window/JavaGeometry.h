/// java.awt.Point and java.awt.Rectangle, in pixels of the root window.
#pragma once

#include "common/jni/JniEntry.h"
#include "unix/window/WindowManager.h"

#include <jni.h>

#include <optional>

/// Nothing for null.
std::optional<Point> pointOf(JNIEnv* env, jobject point);
std::optional<Rect> rectOf(JNIEnv* env, jobject rectangle);
/// New objects, local references; null when Java has no room (its exception is pending).
jobject newPoint(JNIEnv* env, const Point& point);
jobject newRectangle(JNIEnv* env, CJniTrace& trace, const Rect& rect);
