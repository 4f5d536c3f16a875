# Codec, definitions, registry and the texts of shaders: all that needs no scene.

set(CORVANE_SHADER_SOURCES)
set(CORVANE_SHADER_TEMPLATES)
include(${CMAKE_CURRENT_LIST_DIR}/shader_sources.cmake OPTIONAL)

corvane_library(corvane_definitions
    AREAS yaml registry shader
    SOURCES
        corvane/registry/BuiltinLoader.cpp
        corvane/registry/BuiltinPaths.cpp
        corvane/registry/Definition.cpp
        corvane/registry/DefinitionValidation.cpp
        corvane/registry/FunctionConflict.cpp
        corvane/registry/NodeType.cpp
        corvane/registry/ParameterDef.cpp
        corvane/registry/Registry.cpp
        corvane/registry/ThingsFacade.cpp
        corvane/registry/UserLibrary.cpp
        corvane/registry/code/AnnotationReader.cpp
        corvane/registry/code/ParameterExtractor.cpp
        corvane/registry/code/ShaderValidator.cpp
        corvane/registry/code/SignatureAnalyzer.cpp
        corvane/yaml/PlainValue.cpp
        corvane/yaml/YamlFlowParser.cpp
        corvane/yaml/YamlLineReader.cpp
        corvane/yaml/YamlParser.cpp
        corvane/yaml/YamlScalar.cpp
        corvane/yaml/YamlSerializer.cpp
        corvane/yaml/YamlWriter.cpp
        corvane/yaml/Savable.cpp corvane/yaml/Savable.h
        ${CORVANE_SHADER_SOURCES}
    LINKS Qt6::Core Qt6::Gui shader toast
    PRIVATE_LINKS glsl store)

# One bundle a folder. They are read at every start, which is quicker uncompressed.
foreach(group primitives operators modifiers)
    file(GLOB files CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/corvane/sdf/${group}/*.yaml)
    if(files)
        corvane_resources(corvane_definitions sdf_${group}
            PREFIX /sdf BASE ${CMAKE_CURRENT_LIST_DIR}/corvane/sdf FILES ${files}
            OPTIONS --no-compress)
    endif()
endforeach()

# The scenes that the previewScene of an operator names.
file(GLOB previews CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/previews/operators/*.corvane)
corvane_resources(corvane_definitions operator_previews
    PREFIX /corvane/operators/previews BASE ${CMAKE_SOURCE_DIR}/resources/previews/operators
    FILES ${previews})

if(CORVANE_SHADER_TEMPLATES)
    corvane_resources(corvane_definitions shader_templates
        PREFIX / BASE ${CMAKE_SOURCE_DIR}/resources FILES ${CORVANE_SHADER_TEMPLATES})
endif()
corvane_shaders(corvane_definitions sdf_shaders PREFIX / FILES sdf.vert sdf.frag)
