#pragma once

// Replaces the file of this name of a JDK for another system: the Java Native Interface's types on 64-bit
// Windows. Its directory must come first on the include path.
#define JNIEXPORT __declspec(dllexport)
#define JNIIMPORT __declspec(dllimport)
#define JNICALL __stdcall

typedef long jint;
typedef long long jlong;
typedef signed char jbyte;
