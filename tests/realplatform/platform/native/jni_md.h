#pragma once

// The types of the Java Native Interface on 64-bit Windows. A JDK for another system has another file of
// this name, so this one stands first on the include path.
#define JNIEXPORT __declspec(dllexport)
#define JNIIMPORT __declspec(dllimport)
#define JNICALL __stdcall

typedef long jint;
typedef long long jlong;
typedef signed char jbyte;
