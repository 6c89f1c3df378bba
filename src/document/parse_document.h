// From the parsed tree to the records of a shader document.
#pragma once

#include <string>

#include "document/json_tree.h"
#include "document/shader_document.h"

namespace pixelforge {

/// Fills a zero-filled document; code is narrowed with `codeEncoding`. False when a key is missing or
/// wrong, which `error` then names, or when memory is exhausted; passes read before that are kept.
bool ParseShaderDocument(const JsonNode& root, TextEncoding codeEncoding, ShaderDocument& document,
                         std::string& error);

}  // namespace pixelforge
