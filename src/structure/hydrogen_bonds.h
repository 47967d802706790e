#pragma once

#include <string>

namespace orvix::structure {

/// Name of the heavy atom that an acceptor atom hangs on, by residue and atom name; empty when the
/// atom accepts no hydrogen bond.
std::string acceptorAntecedent(const std::string& residue, const std::string& atom);

/// Name of the heavy atom that carries a donor hydrogen; empty when the atom is none. Alpha protons
/// count as donors.
std::string donorHeavyAtom(const std::string& residue, const std::string& atom);

/// Energy of the pair of dipoles C=A and D-H in kcal/mol, in the form of Kabsch and Sander
/// (Biopolymers 22, 2577, 1983) but falling off with the cubes of the distances, in angstrom. Not
/// finite for distances of 0.
double hydrogenBondEnergy(float ad, float ch, float ah, float cd);

/// Whether acceptor A with antecedent C and hydrogen H with heavy atom D form a hydrogen bond: A is
/// at least as close to H as C is to D, and the energy is below -0.5 kcal/mol.
bool isHydrogenBond(float ad, float ch, float ah, float cd);

}  // namespace orvix::structure
