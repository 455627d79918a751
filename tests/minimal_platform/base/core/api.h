#pragma once

/// Marks what is used across shared objects: the product compiles these headers with hidden visibility.
#define MINIMAL_API __attribute__((visibility("default")))
