// A sheet pile in a layer of sand: 60 m long, 20 m deep, the pile 8 m deep and 0.2 m thick.
// gmsh -2 -format msh41 sheet-pile.geo
SetFactory("Built-in");
T = 20;   // thickness of the layer [m]
s = 8;    // depth of the pile
d = 0.1;  // half of its thickness
h = 3;    // side of an element far from the pile
t = 0.4;  // at its toe, where gradients are largest

Point(1) = {0, 0, 0, h};
Point(2) = {60, 0, 0, h};
Point(3) = {60, T, 0, h};
Point(4) = {30 + d, T, 0, 1};
Point(5) = {30 + d, T - s, 0, t};
Point(6) = {30 - d, T - s, 0, t};
Point(7) = {30 - d, T, 0, 1};
Point(8) = {0, T, 0, h};
Line(1) = {1, 2};
Line(2) = {2, 3};
Line(3) = {3, 4};
Line(4) = {4, 5};
Line(5) = {5, 6};
Line(6) = {6, 7};
Line(7) = {7, 8};
Line(8) = {8, 1};
Curve Loop(1) = {1, 2, 3, 4, 5, 6, 7, 8};
Plane Surface(1) = {1};

// percova finds soils and boundaries by these names.
Physical Surface("sand") = {1};
Physical Curve("upstream") = {7};
Physical Curve("excavation") = {3};
Mesh.ElementOrder = 2;               // six-node triangles: gradients converge faster
Mesh.SecondOrderIncomplete = 1;
