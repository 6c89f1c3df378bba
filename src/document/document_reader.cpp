// Reads a whole text into a shader document.
#include "document/document_reader.h"

#include "document/parse_document.h"

namespace pixelforge {

ReadOutcome ReadShaderDocument(const char* text, ShaderDocument& document) {
    ReadOutcome outcome;
    try {
        const TextEncoding encoding = DetectEncoding(text);
        const JsonTree tree(text, encoding);
        outcome.complete = ParseShaderDocument(tree.Root(), encoding, document, outcome.error);
    } catch (const JsonError& fault) {
        outcome.error = fault.what();
    } catch (const std::bad_alloc&) {
        outcome.error = "out of memory";
    }
    return outcome;
}

}  // namespace pixelforge
