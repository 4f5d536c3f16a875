# What a scene sees at infinity, and its lights; needs no device.
corvane_library(corvane_environment
    AREAS rendering/environment
    SOURCES
        corvane/rendering/environment/AstronomicalSunDriver.cpp
        corvane/rendering/environment/BrandLightingEnvironment.cpp
        corvane/rendering/environment/DebugOctantEnvironment.cpp
        corvane/rendering/environment/Environment.cpp
        corvane/rendering/environment/EnvironmentRegistry.cpp
        corvane/rendering/environment/FlatColorEnvironment.cpp
        corvane/rendering/environment/GradientSkyEnvironment.cpp
        corvane/rendering/environment/PhysicalSkyEnvironment.cpp
        corvane/rendering/environment/SettingsTable.cpp
        corvane/rendering/environment/SunColor.cpp
        corvane/rendering/environment/SunDriver.cpp
    LINKS corvane_definitions Qt6::Core Qt6::Gui)

set(environment_templates)
foreach(name background.frag.in brand_lighting.glsl debug_octant.glsl flat_color.glsl gradient_sky.glsl
        physical_sky.glsl)
    list(APPEND environment_templates ${CMAKE_SOURCE_DIR}/resources/templates/env_${name})
endforeach()
corvane_resources(corvane_environment environment_templates
    PREFIX / BASE ${CMAKE_SOURCE_DIR}/resources FILES ${environment_templates})
