// Passes over the finished code: what no output and no check needs is dropped (marking backwards
// from those, linear in the code), forms that intervals want to know are noted, and a product
// with one use fuses with its sum, which saves an instruction and rounds as before: MulAddF is
// two roundings, not a fused one.

#include <eval/internal/registers/LinearCode.h>

#include <eval/internal/registers/FoldFinder.h>

#include <algorithm>

namespace eval::internal {

namespace {

// How far behind a product its sum may stand: products with a use of their own are not worth a
// longer look.
constexpr size_t fusionDistance = 48;

void appendLanes(const RegisterValue &value, std::vector<Register> &lanes)
{
    lanes.insert(lanes.end(), value.lanes.begin(), value.lanes.end());
    for (const RegisterValue &field : value.fields)
        appendLanes(field, lanes);
}

void relocate(RegisterValue &value, const std::vector<Register> &places)
{
    for (Register &lane : value.lanes)
        lane = places[lane];
    for (RegisterValue &field : value.fields)
        relocate(field, places);
}

} // namespace

std::vector<Register> lanesOf(const std::vector<RegisterValue> &outputs)
{
    std::vector<Register> lanes;
    for (const RegisterValue &output : outputs)
        appendLanes(output, lanes);
    return lanes;
}

std::vector<RegisterValue> relocated(const std::vector<RegisterValue> &outputs,
                                     const std::vector<Register> &places)
{
    std::vector<RegisterValue> moved = outputs;
    for (RegisterValue &output : moved)
        relocate(output, places);
    return moved;
}

void eraseInstructions(std::vector<Instruction> &code, const std::vector<bool> &isDropped)
{
    std::vector<quint32> placeOf(code.size() + 1);
    for (size_t i = 0; i < code.size(); ++i)
        placeOf[i + 1] = placeOf[i] + (isDropped[i] ? 0 : 1);
    size_t kept = 0;
    for (size_t i = 0; i < code.size(); ++i) {
        if (isDropped[i])
            continue;
        Instruction instruction = code[i];
        if (isJump(instruction.op))
            instruction.c = placeOf[instruction.c];
        code[kept++] = instruction;
    }
    code.resize(kept);
}

LinearCode::LinearCode(CodeBuilder &builder, const std::vector<Register> &inputs,
                       const std::vector<int> &widths, const std::vector<RegisterValue> &outputs)
    : code(builder.code())
    , externals(builder.externals())
    , origins(builder.registerCount(), Origin::Computed)
    , bits(builder.registerCount())
    , outputLanes(lanesOf(outputs))
{
    for (Register reg = 0; reg < builder.registerCount(); ++reg) {
        if (builder.isConstant(reg)) {
            origins[reg] = Origin::Constant;
            bits[reg] = builder.constantBits(reg);
        }
    }
    for (size_t i = 0; i < inputs.size(); ++i) {
        for (int lane = 0; inputs[i] != noRegister && lane < widths[i]; ++lane)
            origins[inputs[i] + static_cast<Register>(lane)] = Origin::Input;
    }
    for (Instruction &instruction : code) {
        if (isJump(instruction.op))
            instruction.c = builder.labels()[instruction.c];
    }
    dropUnused();
    findFolds();
    fuseProducts();
}

void LinearCode::dropUnused()
{
    // By register: all but those of joins and loop counters have one writer.
    std::vector<std::pair<Register, quint32>> writes;
    for (quint32 i = 0; i < code.size(); ++i)
        forEachWrite(code[i], [&](Register reg) { writes.emplace_back(reg, i); });
    std::ranges::sort(writes);
    std::vector<quint32> firstWrite(registerCount() + 1, 0);
    for (const auto &[reg, writer] : writes)
        ++firstWrite[reg + 1];
    for (size_t i = 1; i < firstWrite.size(); ++i)
        firstWrite[i] += firstWrite[i - 1];

    std::vector<bool> isNeeded(code.size(), false);
    std::vector<quint32> open;
    const auto needInstruction = [&](quint32 index) {
        if (!isNeeded[index]) {
            isNeeded[index] = true;
            open.push_back(index);
        }
    };
    const auto needRegister = [&](Register reg) {
        for (quint32 i = firstWrite[reg]; i < firstWrite[reg + 1]; ++i)
            needInstruction(writes[i].second);
    };
    for (quint32 i = 0; i < code.size(); ++i) {
        if (!isPure(code[i].op) && code[i].op != Op::External)
            needInstruction(i);
    }
    for (const Register lane : outputLanes)
        needRegister(lane);
    while (!open.empty()) {
        const quint32 index = open.back();
        open.pop_back();
        forEachRead(code[index], needRegister);
    }
    isNeeded.flip();
    eraseInstructions(code, isNeeded);
}

/// Before products are fused: then the parts of a fold are still there to be seen.
void LinearCode::findFolds()
{
    const FoldFinder finder(*this);
    for (Instruction &instruction : code) {
        if (instruction.op != Op::SubF && instruction.op != Op::MulF)
            continue;
        instruction.c = noRegister;
        const auto range = instruction.op == Op::SubF ? finder.rangeOf(instruction)
                                                      : finder.rangeOfBlend(instruction);
        if (range) {
            instruction.c = static_cast<Register>(folds.size());
            folds.push_back(*range);
        }
    }
}

void LinearCode::fuseProducts()
{
    std::vector<quint32> uses(registerCount(), 0);
    std::vector<quint32> writes(registerCount(), 0);
    std::vector<quint32> writer(registerCount(), 0);
    for (quint32 i = 0; i < code.size(); ++i) {
        forEachRead(code[i], [&](Register reg) { ++uses[reg]; });
        forEachWrite(code[i], [&](Register reg) {
            ++writes[reg];
            writer[reg] = i;
        });
    }
    for (const Register lane : outputLanes)
        ++uses[lane];

    std::vector<bool> isDropped(code.size(), false);
    const auto isFixed = [&](Register reg) { return !isComputed(reg) || writes[reg] == 1; };
    for (quint32 i = 0; i < code.size(); ++i) {
        if (code[i].op != Op::AddF)
            continue;
        for (const Register product : {code[i].a, code[i].b}) {
            if (!isComputed(product) || uses[product] != 1 || writes[product] != 1)
                continue;
            const quint32 at = writer[product];
            const Instruction &factor = code[at];
            // Factors that change on the way (registers of a join) would be read too late.
            if (factor.op != Op::MulF || isDropped[at] || at > i || i - at > fusionDistance ||
                !isFixed(factor.a) || !isFixed(factor.b))
                continue;
            const Register other = product == code[i].a ? code[i].b : code[i].a;
            code[i] = {Op::MulAddF, code[i].dst, factor.a, factor.b, other};
            isDropped[at] = true;
            break;
        }
    }
    eraseInstructions(code, isDropped);
}

} // namespace eval::internal
