/*
 * A C program's use of the interface for scripts, every function once: compiled as strict C11, so
 * that the header stays one that a C compiler takes.
 */

#include <Vexo/Script.h>

#include "ScriptFromC.h"

#include <string.h>

#define NEED(condition)                                                                            \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            return #condition;                                                                     \
        }                                                                                          \
    } while (0)

static char const* listTypes(void) {
    VexoModule const* module = NULL;
    for (size_t i = 0; (module = vexoModule(i)) != NULL; ++i) {
        if (strcmp(vexoModuleName(module), "Orchard") == 0) {
            break;
        }
    }
    NEED(module != NULL);
    NEED(strcmp(vexoModuleSource(module), "tests/Orchard") == 0);
    VexoType const* const tree = vexoModuleType(module, 0);
    NEED(tree == vexoFindType("Orchard::Tree"));
    NEED(vexoTypeModule(tree) == module);
    NEED(vexoTypeNumber(tree) == 1);
    NEED(strcmp(vexoTypeName(vexoTypeBase(tree)), "Vexo::PtrInterface") == 0);
    NEED(vexoTypeIsValue(tree) == 0 && vexoTypeHasHash(tree) == 1 && vexoTypeHasOrder(tree) == 0);
    VexoAttribute const* const constructor = vexoTypeConstructor(tree);
    NEED(vexoAttributeIsReference(constructor) == 1);
    NEED(vexoParameterCount(constructor) == 2);
    NEED(strcmp(vexoParameterName(constructor, 1), "name") == 0);
    NEED(vexoParameterType(constructor, 0) == vexoFindType("U32"));
    NEED(vexoParameterIsReference(constructor, 0) == 0);
    VexoAttribute const* const height = vexoTypeAttribute(tree, 1);
    NEED(strcmp(vexoAttributeName(height), "height") == 0);
    NEED(vexoTypeAttributeNumber(tree, "height") == 3);
    NEED(vexoAttributeKind(height) == VEXO_VALUE);
    NEED(vexoAttributeIsReadable(height) == 1 && vexoAttributeIsWritable(height) == 1);
    NEED(vexoAttributeType(height) == vexoFindType("U32"));
    NEED(vexoAttributeKeyType(height) == NULL);
    NEED(vexoAttributeKind(vexoModuleFunction(module, 0)) == VEXO_FUNCTION);
    return NULL;
}

static char const* askValues(VexoValue* tree, VexoValue* apple, VexoValue* number) {
    VexoValue* out = NULL;
    VexoValue const* const weighed[] = {apple, number};
    uint64_t found = 0;
    int answer = 0;
    NEED(vexoSet(tree, "height", number) == VEXO_DONE);
    NEED(vexoGet(tree, "height", &out) == VEXO_DONE);
    NEED(vexoToNumber(out, &found) == VEXO_DONE && found == 7);
    vexoRelease(out);
    NEED(vexoCall(tree, "weigh", weighed, 2, &out) == VEXO_DONE);
    vexoRelease(out);
    NEED(vexoCallFunction(vexoTypeModule(vexoValueType(tree)), "square", weighed + 1, 1, NULL) ==
         VEXO_DONE);
    NEED(vexoPut(tree, "apples", apple, number) == VEXO_DONE);
    NEED(vexoLookUp(tree, "apples", apple, &out) == VEXO_DONE);
    vexoRelease(out);
    NEED(vexoContains(tree, "apples", apple, &answer) == VEXO_DONE && answer == 1);
    NEED(vexoCount(tree, "apples", &found) == VEXO_DONE && found == 1);
    NEED(vexoCapacity(tree, "apples", &found) == VEXO_DONE && found >= 1);
    NEED(vexoKeyAt(tree, "apples", 0, &out) == VEXO_DONE);
    NEED(vexoEqual(out, apple, &answer) == VEXO_DONE && answer == 1);
    NEED(vexoLess(out, apple, &answer) == VEXO_DONE && answer == 0);
    NEED(vexoTruth(out, &answer) == VEXO_DONE);
    vexoRelease(out);
    NEED(vexoErase(tree, "apples", apple, &answer) == VEXO_DONE && answer == 1);
    NEED(vexoGet(tree, "roots", &out) == VEXO_NO_SUCH_ATTRIBUTE);
    NEED(strcmp(vexoMessage(), "Orchard::Tree has no attribute 'roots'") == 0);
    return NULL;
}

static char const* readTexts(VexoValue* tree) {
    VexoValue* text = NULL;
    VexoValue* again = NULL;
    char const* bytes = NULL;
    size_t length = 0;
    uint32_t hash = 0;
    NEED(vexoText(tree, &text) == VEXO_DONE);
    NEED(vexoToString(text, &bytes, &length) == VEXO_DONE);
    NEED(vexoFromText(vexoValueType(tree), bytes, length, &again) == VEXO_DONE);
    NEED(vexoIsNull(again) == 0);
    vexoRelease(again);
    NEED(vexoHash(text, &hash) == VEXO_DONE);
    NEED(vexoCopy(text, &again) == VEXO_DONE);
    vexoRelease(again);
    vexoRelease(text);
    return NULL;
}

static char const* useSlots(void) {
    VexoValue* name = NULL;
    VexoValue* number = NULL;
    VexoValue* ripe = NULL;
    VexoValue* tree = NULL;
    VexoValue* apple = NULL;
    VexoValue* nothing = NULL;
    int flag = 0;
    NEED(vexoFromString("oak", 3, &name) == VEXO_DONE);
    NEED(vexoFromNumber(7, &number) == VEXO_DONE);
    NEED(vexoFromBool(1, &ripe) == VEXO_DONE && vexoToBool(ripe, &flag) == VEXO_DONE && flag == 1);
    NEED(vexoNone(&nothing) == VEXO_DONE && vexoIsNull(nothing) == 1);
    VexoValue const* const ofTree[] = {number, name};
    VexoValue const* const ofApple[] = {number, ripe};
    NEED(vexoMake(vexoFindType("Orchard::Tree"), ofTree, 2, &tree) == VEXO_DONE);
    NEED(vexoMake(vexoFindType("Orchard::Apple"), ofApple, 2, &apple) == VEXO_DONE);
    NEED(vexoLiveAllocationsOf("Orchard::Tree") >= 1 && vexoLiveAllocations() >= 1);
    NEED(vexoTraceLevelsIs("Orchard/off") == VEXO_DONE);
    char const* problem = askValues(tree, apple, number);
    if (problem == NULL) {
        problem = readTexts(tree);
    }
    VexoValue* const slots[] = {name, number, ripe, tree, apple, nothing, NULL};
    for (size_t i = 0; i < sizeof slots / sizeof slots[0]; ++i) {
        vexoRelease(slots[i]);
    }
    return problem;
}

char const* scriptFromC(void) {
    char const* const problem = listTypes();
    vexoThreadSafePtrIs(0);
    return problem != NULL ? problem : useSlots();
}
