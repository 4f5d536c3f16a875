SDFMaterial defaultMaterial() {
    return SDFMaterial(vec4(0.8, 0.8, 0.8, 1.0), 0.0, 0.5, 0.0, 0.0);
}

SDFMaterial blendMaterials(SDFMaterial a, SDFMaterial b, float t) {
    return SDFMaterial(mix(a.albedo, b.albedo, t), mix(a.metallic, b.metallic, t),
                       mix(a.roughness, b.roughness, t), mix(a.emission, b.emission, t), 0.0);
}

SDFMaterial materialOfNodes(int primary, int secondary, float blend) {
    if (primary < 0 || primary >= nodeCount) {
        return defaultMaterial();
    }
    SDFMaterial material = nodes[primary].material;
    if (secondary >= 0 && secondary < nodeCount && blend > 0.001) {
        material = blendMaterials(material, nodes[secondary].material, blend);
    }
    return material;
}
